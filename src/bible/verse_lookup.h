#pragma once

#include "bible/api.h"
#include "bible/verse_flow.h"
#include "bible/verse_translator.h"

#include <QFuture>
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>

namespace bible {

/// Shows a verse in a layer: a text of this computer, of a built-in or an imported Bible, at once
/// and then, where the choice asks for it, the online text in its place.
///
/// The owner names a layer by a number of its own; what a number means is the owner's to say when
/// an answer comes. A newer lookup does not cancel an older one: whichever
/// answer arrives last stands. Nothing is said or written for a layer that `holdsVerse` denies.
///
/// Interface thread only; nothing here waits. Client and translator must outlive the lookup.
class VerseLookup final : public QObject {
public:
    using LayerId = std::uint64_t;

    /// What the operator chose, as it is when the lookup is asked for.
    struct Source {
        QString choice; ///< `bibleChoice`
        QString apiBibleId; ///< identifier of the chosen API.Bible Bible; may be empty
        QString apiBibleName; ///< its entry in the list, "Reina Valera 1960 (RVR60)"; may be empty
    };

    /// `ready` is finished once the Bibles of this computer are loaded.
    VerseLookup(Api &api, VerseTranslator &translator, QFuture<void> ready = prepare());

    /// Looks `typed` up for the layer, in the Bible that is named behind the reference, if any.
    /// Throws nimbara::Error, with the layer and what is under way for it unchanged, as
    /// `requireReference` and `choiceFor` do, and when the Bible has no such text. While the Bibles
    /// are still loading, the last is not known at once; it follows from the event loop.
    void lookupVerse(LayerId layer, const QString &typed, const Source &source);

    /// Gets messages for the status line.
    std::function<void(LayerId layer, const nimbara::Message &)> statusChanged
        = [](LayerId, const nimbara::Message &) {};

    /// Gets the failure of a lookup that had to wait for the Bibles.
    std::function<void(const nimbara::Message &error)> failed = [](const nimbara::Message &) {};

    /// Whether the layer is still there and still a verse layer. Asked before anything that comes
    /// later than the call of `lookupVerse`.
    std::function<bool(LayerId layer)> holdsVerse = [](LayerId) { return true; };

    /// Writes the layer.
    std::function<void(LayerId layer, const VerseUpdate &update)> updateLayer
        = [](LayerId, const VerseUpdate &) {};

    /// Told behind the last thing that comes for a lookup.
    std::function<void(LayerId layer)> ended = [](LayerId) {};

    /// Gets a key to hand to its receiver, empty without one, at once or later: a store of secrets
    /// may wait for the operator. Asked only when a key is needed, and not kept.
    using KeySource = std::function<void(std::function<void(const QString &key)> receiver)>;
    KeySource apiBibleKey = [](const auto &receiver) { receiver({}); };
    KeySource openAiKey = [](const auto &receiver) { receiver({}); };

private:
    struct Request {
        LayerId layer = 0;
        Passage passage;
        Source source;
    };

    void showWhenReady(const Request &request);
    void showBuiltIn(const Request &request);
    void askApiBible(const Request &request, const QString &key);
    void askTranslation(const Request &request,
        const QString &verse,
        const QString &target,
        const QString &key);
    /// Runs `step` with the key, unless this or the layer is gone by then.
    void
    withKey(const KeySource &source, LayerId layer, std::function<void(const QString &key)> step);
    void finish(const Request &request, const VerseOutcome &outcome);

    Api &m_api;
    VerseTranslator &m_translator;
    QFuture<void> m_ready;
    int m_waiting = 0; ///< lookups that the loaded Bibles have not reached yet
};

} // namespace bible
