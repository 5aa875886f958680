#pragma once

#include "bible/passage.h"
#include "bible/verse_search.h"
#include "studio/services/bible_library.h"

#include <QObject>
#include <QString>

#include <deque>
#include <memory>

namespace nimbara {

/// Finds verses that are quoted in what is said, though nobody has named them. Opens an index of
/// its own with the first phrase. Interface thread only, which never waits.
class QuotationFinder : public QObject {
    Q_OBJECT
public:
    /// `library` must outlive this. `cacheFolder`: see `bible::VerseSearch`.
    QuotationFinder(const BibleLibrary &library, QString cacheFolder);
    ~QuotationFinder() override;
    QuotationFinder(const QuotationFinder &) = delete;
    QuotationFinder &operator=(const QuotationFinder &) = delete;
    QuotationFinder(QuotationFinder &&) = delete;
    QuotationFinder &operator=(QuotationFinder &&) = delete;

    /// Looks for quotations; `isGrowing`: it is still being said. Of what grows only the newest is
    /// looked at, and where nothing else waits.
    void hear(const QString &text, bool isGrowing);

Q_SIGNALS:
    /// `text`: what was heard.
    void found(const bible::Passage &verse, const QString &text, bool isGrowing);

private:
    /// Some words of what was heard.
    struct Stretch {
        QString words;
        QString text;
        bool isGrowing = false;
    };
    void searchNext();
    void take(const Stretch &stretch, const QList<bible::FoundVerse> &likely);

    const BibleLibrary &m_library;
    QString m_cacheFolder;
    std::unique_ptr<bible::VerseSearch> m_search;
    std::deque<Stretch> m_waiting;
    bool m_isSearching = false;
};

} // namespace nimbara
