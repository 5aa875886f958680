#include "bench.h"
#include "bible/builtin.h"
#include "studio/studio_run.h"
#include "support/manual_clock.h"

#include <QString>

#include <vector>

namespace {

using namespace nimbara;
using namespace nimbara::bench;

/// Psalm 119 on air in both programs.
void prepareVerses(Studio &studio)
{
    bible::prepare().waitForFinished();
    studio.stage().program.setFadeEnabled(false);
    for (const int set : { 1, 0 }) {
        studio.program().setEditSet(set);
        studio.verses().lookupVerse(studio.verses().quickVerseLayer(),
            QStringLiteral("Salmos 119"),
            { QStringLiteral("es"), {}, {} });
        studio.program().take();
    }
}

/// A step and the frame that shows it in all three pictures.
double versePageMs()
{
    testing::ManualClock clock;
    Studio studio(clock);
    prepareVerses(studio);
    std::vector<double> times;
    for (int step = 0; step < 30; ++step) {
        clock.advanceUs(FrameSchedule::periodUs);
        times.push_back(timeMs([&] {
            studio.verseSteps().step({}, VerseSteps::Direction::On);
            studio.tick();
        }));
    }
    return median(std::move(times));
}

} // namespace

NIMBARA_BENCH_CASE("verse-page", versePageMs)
