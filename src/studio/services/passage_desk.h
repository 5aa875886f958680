#pragma once

#include "studio/edit/document.h"
#include "studio/services/bible_desk.h"
#include "studio/services/verse_desk.h"

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nimbara {

/// A passage that was shown, and where its text came from.
struct ShownPassage {
    KeptPassage passage;
    QString bible; ///< as its reference line named it; empty where that is not known
    bible::VerseLookup::Source source {}; ///< to look it up there again; no choice: as chosen
    LayerId layer {}; ///< that showed it; none: in another run
    /// Its text may only stand in for one from the network, until its lookup has ended; not where
    /// it was shown before, too.
    bool standsIn = false;
};

/// The passages of a service, which the project keeps in their order, and those that were shown
/// last, which the program keeps from one run to the next. Interface thread only.
class PassageDesk : public QObject {
    Q_OBJECT
public:
    static constexpr std::size_t mostRecent = 50;

    /// All must outlive the desk.
    struct Surroundings {
        Document &document;
        VerseDesk &verses;
        const BibleDesk &bibles;
        QSettings &settings;
    };
    explicit PassageDesk(const Surroundings &surroundings);

    [[nodiscard]] const std::vector<KeptPassage> &kept() const
    {
        return m_surroundings.document.project().passages;
    }
    /// Keeps a typed reference, behind the others; false where it may mean several passages, which
    /// is `doubtful`. Throws as `bible::requireReference` does, and when the Bible has no such
    /// text. The Bibles must be loaded.
    bool add(const QString &typed);
    void remove(std::size_t place);
    /// Exchanges the passage with the one `delta` places further down, if there is one.
    void move(std::size_t place, std::int32_t delta);

    /// What was looked up, the last one first, each once in each Bible.
    [[nodiscard]] const std::vector<ShownPassage> &recent() const { return m_recent; }

Q_SIGNALS:
    void keptChanged();
    void recentChanged();
    /// `offers`: what may be meant, each a reference to add, "Jueces 3:16".
    void doubtful(const QStringList &offers);
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    void keep(const bible::Asked &asked);
    void remember(LayerId layer, bool isFinal);
    void settle(LayerId layer);
    void load();
    void store() const;

    Surroundings m_surroundings;
    std::vector<KeptPassage> m_told; ///< as `keptChanged` last told
    std::vector<ShownPassage> m_recent;
};

/// The first words of a verse layer's text, without its number and with "…" where more follow.
QString firstWords(const QString &text);

} // namespace nimbara
