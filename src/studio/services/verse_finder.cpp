#include "studio/services/verse_finder.h"

#include "bible/builtin.h"

namespace nimbara {

VerseFinder::VerseFinder(const BibleDesk &bibles, const QString &cacheFolder)
    : m_bibles(bibles)
    , m_ready(bible::prepare())
    , m_search(cacheFolder)
{
}

void VerseFinder::suggest(const QString &typed)
{
    if (!m_ready.isFinished()) {
        return; // for tens of milliseconds after the start
    }
    const bool spanish = m_bibles.language() == QLatin1String("es");
    const QList<bible::Suggestion> references
        = bible::completions(typed, spanish ? bible::spanish() : bible::english(), most);
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
                if (all.size() < most) {
                    all << bible::suggestionOf(verse, m_bibles.language());
                }
            }
            Q_EMIT suggested(typed, all);
        });
}

} // namespace nimbara
