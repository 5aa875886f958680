#include "bench.h"
#include "bible/builtin.h"
#include "bible/verse_flow.h"
#include "compositor/scene/verse_pager.h"
#include "studio/studio_run.h"
#include "support/manual_clock.h"

#include <QString>

#include <array>
#include <cstdio>
#include <string>
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

/// The pages of Psalm 119 of two Bibles: with letters of a size that was not used yet, and again.
std::string tellPaging()
{
    bible::prepare().waitForFinished();
    const bible::Passage psalm { 18, { { 119, 0, 119, 0 } } };
    Layer layer = newLayer(LayerKind::Verse);
    layer.text = bible::passageText(bible::spanish(), psalm);
    layer.reference = bible::referenceLine(bible::spanish(), psalm);
    layer.secondText = bible::presentText(bible::english(), psalm);
    layer.secondReference = bible::referenceLine(bible::english(), psalm);
    std::vector<double> first;
    std::vector<double> again;
    std::size_t pages = 0;
    for (layer.size = 40; layer.size < 70; ++layer.size) {
        first.push_back(timeMs([&] { pages = pagesOf(layer, landscapeSize).pages.size(); }));
        again.push_back(timeMs([&] { pages = pagesOf(layer, landscapeSize).pages.size(); }));
    }
    std::array<char, 100> text {};
    std::snprintf(text.data(),
        text.size(),
        "new size %.1f ms, again %.1f ms (%zu pages)",
        median(std::move(first)),
        median(std::move(again)),
        pages);
    return text.data();
}

} // namespace

NIMBARA_BENCH_CASE("verse-page", versePageMs)
NIMBARA_BENCH_CASE("paging", tellPaging)
