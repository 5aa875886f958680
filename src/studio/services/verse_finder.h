#pragma once

#include "bible/suggestions.h"
#include "bible/verse_search.h"
#include "studio/services/bible_desk.h"
#include "studio/services/bible_library.h"

#include <QFuture>
#include <QList>
#include <QObject>
#include <QString>

namespace nimbara {

/// Tells what a text that is being typed may become: references, and verses with these words.
/// Interface thread only, which never waits.
class VerseFinder : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype most = 8; ///< suggestions

    /// `bibles` and `library` must outlive this. `cacheFolder`: see `bible::VerseSearch`.
    VerseFinder(const BibleDesk &bibles, const BibleLibrary &library, const QString &cacheFolder);

    /// Suggests at once what references the text may become, and later, where it may be words of a
    /// verse, those verses behind them. A later text takes the place of an earlier one.
    void suggest(const QString &typed);

Q_SIGNALS:
    /// All that is known so far for the text; perhaps nothing.
    void suggested(const QString &typed, const QList<bible::Suggestion> &suggestions);

private:
    const BibleDesk &m_bibles;
    QFuture<void> m_ready; ///< the Bibles are loaded
    bible::VerseSearch m_search;
};

} // namespace nimbara
