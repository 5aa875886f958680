#pragma once

#include "studio/edit/document.h"
#include "studio/services/bible_desk.h"
#include "studio/services/verse_desk.h"

#include <QObject>
#include <QSettings>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nimbara {

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
    /// Keeps a typed reference, behind the others. Throws as `bible::requireReference` does, and
    /// when the built-in Bible has no such text. The Bibles must be loaded.
    void add(const QString &typed);
    void remove(std::size_t place);
    /// Exchanges the passage with the one `delta` places further down, if there is one.
    void move(std::size_t place, std::int32_t delta);

    /// What was looked up, the last one first, each once.
    [[nodiscard]] const std::vector<KeptPassage> &recent() const { return m_recent; }

Q_SIGNALS:
    void keptChanged();
    void recentChanged();

private:
    void remember(LayerId layer);
    void load();
    void store() const;

    Surroundings m_surroundings;
    std::vector<KeptPassage> m_told; ///< as `keptChanged` last told
    std::vector<KeptPassage> m_recent;
};

/// The first words of a verse layer's text, without its number and with "…" where more follow.
QString firstWords(const QString &text);

} // namespace nimbara
