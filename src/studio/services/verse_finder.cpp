#include "studio/services/verse_finder.h"

namespace nimbara {

VerseFinder::VerseFinder(const BibleDesk &bibles,
    const BibleLibrary &library,
    const QString &cacheFolder)
    : m_bibles(bibles)
    , m_ready(library.ready())
    , m_search(cacheFolder, library.ready())
{
    connect(&library, &BibleLibrary::changed, this, [this] { m_search.renew(); });
}

void VerseFinder::suggest(const QString &typed)
{
    if (!m_ready.isFinished()) {
        return; // for tens of milliseconds after the start
    }
    const bible::BiblePtr first = m_bibles.first();
    const QList<bible::Suggestion> references
        = first != nullptr ? bible::completions(typed, *first, most) : QList<bible::Suggestion>();
    Q_EMIT suggested(typed, references);
    const bool words = bible::mayBeWords(typed);
    m_search.find(words ? typed : QString(),
        most,
        [this, typed, references, words](const QList<bible::FoundVerse> &found) {
            if (!words || found.isEmpty()) {
                return;
            }
            QList<bible::Suggestion> all = references;
            for (const bible::FoundVerse &verse : found) {
                const bible::Suggestion suggestion = bible::suggestionOf(verse, m_bibles.first());
                if (all.size() < most && !suggestion.reference.isEmpty()) {
                    all << suggestion;
                }
            }
            Q_EMIT suggested(typed, all);
        });
}

} // namespace nimbara
