#pragma once

#include "base/report.h"
#include "bible/api.h"
#include "bible/verse_lookup.h"
#include "bible/verse_translator.h"
#include "net/endpoints.h"
#include "studio/edit/stage.h"

#include <QObject>
#include <QString>

#include <map>
#include <optional>

namespace nimbara {

/// "Salmos 119:1-4 · página 1 de 40". `page`: from 0.
Message pageText(const QString &label, std::size_t page, std::size_t pages);

/// How many lines of the page that the layer shows are hidden; empty when none is.
Message hiddenText(const Layer &layer, const VersePages &pages, FrameSize frame);

/// Looks verses up for verse layers. An answer that comes later finds its layer wherever it is
/// then, or finds it gone. Where the operator has written over the text meanwhile, that stays and
/// the answer waits until it is asked for. Interface thread only.
class VerseDesk : public QObject {
    Q_OBJECT
public:
    /// `stage` must outlive the desk. `ready`: the Bibles of this computer are loaded.
    VerseDesk(const Endpoint &openAi,
        const Endpoint &apiBible,
        Stage &stage,
        Report status,
        const QFuture<void> &ready = bible::prepare());

    /// Shows the verse in the layer; does nothing without such a layer. One of `quickVerseLayer` is
    /// put into its scene with its verse, in one step. Throws as `bible::VerseLookup::lookupVerse`
    /// does, with the layer unchanged.
    void lookupVerse(LayerId layer, const QString &typed, const bible::VerseLookup::Source &source);

    /// The front-most verse layer of the scene in PREVIEW, or a new one that will be in front of
    /// all others once its verse is found.
    LayerId quickVerseLayer();
    /// The layer is in a scene already.
    [[nodiscard]] bool hasLayer(LayerId layer) const { return verseLayer(layer) != nullptr; }

    /// Whether an answer waits for the layer, behind what the operator wrote.
    [[nodiscard]] bool hasWaiting(LayerId layer) const { return m_waiting.contains(layer); }
    /// Shows the answer that waits for the layer.
    void useWaiting(LayerId layer);

    /// Takes the Bible with the identifier for the layer's second one, none for an empty
    /// text, and shows the layer's passage in it; see `secondOf`. What is missing is told.
    void setSecond(LayerId layer, const QString &bible);

    /// Keeps the layer's look for the project's new verse layers, and tells so.
    void keepStyle(LayerId layer);

    /// Lists the Spanish Bibles that the key may read.
    void listBibles(const QString &key, bible::Api::BiblesCallback done);

    /// Where the operator's keys come from, asked when one is needed. Never empty.
    void setKeys(bible::VerseLookup::KeySource apiBible, bible::VerseLookup::KeySource openAi);

Q_SIGNALS:
    /// An answer waits for the layer now, or no more.
    void waitingChanged(nimbara::LayerId layer);
    /// A verse was written into the layer. `isFinal`: its text is from the network, and no other
    /// one follows it.
    void written(nimbara::LayerId layer, bool isFinal);
    /// Nothing more comes for the last lookup of the layer, whether its text came or not.
    void lookupEnded(nimbara::LayerId layer);
    /// A new layer has its verse.
    void quickVerseAdded(nimbara::LayerId layer);
    /// A lookup that had to wait for the Bibles has failed.
    void failed(const nimbara::Message &reason);

private:
    [[nodiscard]] const Layer *verseLayer(LayerId id) const;
    [[nodiscard]] bool isPlanned(LayerId id) const;
    void add(LayerId id, const bible::VerseUpdate &update);
    void receive(LayerId id, const bible::VerseUpdate &update);
    void write(LayerId id, const bible::VerseUpdate &update);
    void setWaiting(LayerId id, std::optional<bible::VerseUpdate> update);
    void tell(LayerId id, const Message &text);
    void showSecond(LayerId id, const QString &bible);

    Stage &m_stage;
    Report m_status;
    bible::Api m_api;
    bible::VerseTranslator m_translator;
    QFuture<void> m_ready;
    bible::VerseLookup m_lookup;
    std::map<LayerId, QString> m_written; ///< the text that a lookup last found or left in a layer
    std::map<LayerId, SceneId> m_planned; ///< layers to come, at most one for each scene
    std::map<LayerId, bible::VerseUpdate> m_waiting;
};

} // namespace nimbara
