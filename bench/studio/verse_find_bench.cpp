#include "bench.h"
#include "bible/suggestions.h"
#include "bible/verse_index.h"
#include "bible/verse_order.h"
#include "studio/studio_run.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace nimbara::bench;

/// What finding costs: the index made and opened, a thousand searches of two to five words from all
/// over both Bibles, a thousand keys of references being typed, and the memory of it all.
std::string tellFinding()
{
    const double before = residentMiB();
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("verses.sqlite"));
    bible::prepare().waitForFinished();
    const double making = timeMs([&] { bible::VerseIndex::make(path, [] { return false; }); });
    std::vector<double> opening;
    opening.push_back(timeMs([&] { const bible::VerseIndex opened(path); }));
    bible::VerseIndex index(path);
    std::vector<double> searches;
    std::vector<double> keys;
    for (int turn = 0; turn < 1000; ++turn) {
        const bible::Ref verse = bible::verseAt(turn * 31);
        const bible::Bible &bible = turn % 2 == 0 ? bible::spanish() : bible::english();
        const QString words = bible::searchWords(bible::verseText(bible, verse))
                                  .mid(turn % 3, 2 + turn % 4)
                                  .join(QLatin1Char(' '));
        searches.push_back(timeMs([&] { index.find(words, 8); }));
        const QString typed = bible::label(verse, QStringLiteral("es")).left(1 + turn % 12);
        keys.push_back(timeMs([&] { bible::completions(typed, bible, 8); }));
    }
    char text[240];
    std::snprintf(text,
        sizeof text,
        "made in %.0f ms, %.1f MiB on disk, opened in %.0f ms\tsearch p50 %.1f ms, p99 %.1f ms\t"
        "key p99 %.1f ms\tmemory of both Bibles and the index %.0f MiB",
        making,
        static_cast<double>(QFileInfo(path).size()) / 1048576,
        opening.front(),
        percentile(searches, 0.5),
        percentile(searches, 0.99),
        percentile(keys, 0.99),
        residentMiB() - before);
    return text;
}

} // namespace

NIMBARA_BENCH_CASE("verse-find", tellFinding)
