#include "bench.h"
#include "bible/builtin.h"
#include "bible/verse_flow.h"
#include "compositor/scene/verse_pager.h"
#include "studio/studio_run.h"
#include "support/manual_clock.h"
#include "ui/watched_window.h"

#include <QCoreApplication>
#include <QString>

#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
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

/// A tenth of a second of the frame clock's runs.
void rest(Studio &studio, testing::ManualClock &clock)
{
    constexpr std::chrono::microseconds pause { 5000 };
    for (int run = 0; run < 20; ++run) {
        clock.advanceUs(pause.count());
        studio.tick();
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(pause);
    }
}

/// A step and the frame that shows it in all three pictures, ten times a second.
double versePageMs()
{
    testing::ManualClock clock;
    Studio studio(clock);
    prepareVerses(studio);
    std::vector<double> times;
    for (int step = 0; step < 30; ++step) {
        rest(studio, clock);
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

/// What a key costs the interface thread, in its processor time, ten times a second and with two
/// Bibles on air in both programs: the step alone, and the frame that shows it.
class KeySteps {
public:
    KeySteps()
    {
        prepareVerses(m_studio);
        for (const int set : { 1, 0 }) {
            m_studio.program().setEditSet(set);
            m_studio.verses().setSecond(m_studio.verses().quickVerseLayer(), QStringLiteral("KJV"));
            m_studio.program().take();
        }
    }

    /// `typed`: where they begin.
    std::string tell(const char *name, const QString &typed, int steps)
    {
        for (const int set : { 1, 0 }) {
            m_studio.program().setEditSet(set);
            m_studio.verses().lookupVerse(m_studio.verses().quickVerseLayer(),
                typed,
                { QStringLiteral("es"), {}, {} });
            m_studio.program().take();
        }
        std::vector<double> keys;
        std::vector<double> frames;
        for (int step = 0; step < steps; ++step) {
            rest(m_studio, m_clock);
            keys.push_back(
                threadMs([&] { m_studio.verseSteps().step({}, VerseSteps::Direction::On); }));
            m_clock.advanceUs(FrameSchedule::periodUs);
            frames.push_back(threadMs([&] { m_studio.tick(); }));
        }
        std::array<char, 160> text {};
        std::snprintf(text.data(),
            text.size(),
            "\t%s: step p50 %.1f ms, p99 %.1f ms, its frame p50 %.1f ms, p99 %.1f ms",
            name,
            percentile(keys, 0.5),
            percentile(keys, 0.99),
            percentile(frames, 0.5),
            percentile(frames, 0.99));
        return text.data();
    }

    /// The longest chapter in both Bibles, with letters of sizes that were not used yet.
    std::string tellLookUps()
    {
        const LayerId layer = m_studio.verses().quickVerseLayer();
        std::vector<double> lookUps;
        std::vector<double> frames;
        for (std::int32_t size = 40; size < 60; ++size) {
            m_studio.verses().lookupVerse(layer,
                QStringLiteral("Juan 3:16"),
                { QStringLiteral("es"), {}, {} });
            m_studio.stage().document.apply(SetField { layer, LayerField::Size, size });
            rest(m_studio, m_clock);
            lookUps.push_back(threadMs([&] {
                m_studio.verses().lookupVerse(layer,
                    QStringLiteral("Salmos 119"),
                    { QStringLiteral("es"), {}, {} });
            }));
            m_clock.advanceUs(FrameSchedule::periodUs);
            frames.push_back(threadMs([&] { m_studio.tick(); }));
        }
        std::array<char, 100> text {};
        std::snprintf(text.data(),
            text.size(),
            "\tfirst lookup: p50 %.1f ms, p99 %.1f ms, its frame %.1f ms",
            percentile(lookUps, 0.5),
            percentile(lookUps, 0.99),
            percentile(frames, 0.5));
        return text.data();
    }

private:
    testing::ManualClock m_clock;
    Studio m_studio { m_clock };
};

std::string tellSteps()
{
    KeySteps steps;
    return steps.tell("pages", QStringLiteral("Salmos 119"), 60)
        + steps.tell("verses", QStringLiteral("Ester 8:1"), 100) + steps.tellLookUps();
}

std::string tellAllPaging()
{
    return tellPaging() + tellSteps();
}

} // namespace

NIMBARA_BENCH_CASE("verse-page", versePageMs)
NIMBARA_BENCH_CASE("paging", tellAllPaging)
