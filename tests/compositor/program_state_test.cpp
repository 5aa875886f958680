#include "compositor/scene/frame_schedule.h"
#include "compositor/scene/program_state.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace Qt::StringLiterals;
using nimbara::FrameSchedule;

namespace {

QImage filled(const QColor &color, QSize size = { 64, 36 })
{
    QImage image(size, QImage::Format_RGBX8888);
    image.fill(color);
    return image;
}

/// A fade from a red picture on air to the new program's, begun at 0.
ProgramState fading(QSize onAir = { 64, 36 })
{
    ProgramState state;
    static_cast<void>(state.showStreams(filled(Qt::red, onAir), -1));
    state.takeStreams(makeScene({}, { Layer {} }), {}, false, Transition {}, 0);
    return state;
}

constexpr std::int64_t fadeUs = 400'000;
constexpr std::int64_t start = 5'000'000;
constexpr std::int64_t period = 33'333;

} // namespace

/// The fade itself; what TAKE and OFF AIR do to the programs is shown in the studio.
class ProgramStateTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyFrameOfTheFade()
    {
        ProgramState state = fading();
        const QImage fresh = filled(QColor(0, 100, 0));
        std::vector<QImage> shown; // what was handed out stays as it was
        for (std::int64_t at = 0; at < fadeUs; at += 33'333) {
            shown.push_back(state.showStreams(fresh, at));
        }
        QCOMPARE(shown.size(), std::size_t { 13 });
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const double gone = static_cast<double>(i) * 33'333 / 400'000;
            const QColor pixel = shown[i].pixelColor(5, 5);
            QVERIFY(qAbs(pixel.red() - 255 * (1 - gone)) < 2);
            QVERIFY(qAbs(pixel.green() - 100 * gone) < 2);
            QCOMPARE(shown[i].constBits()[3], uchar { 255 });
        }
        QCOMPARE(state.showStreams(fresh, fadeUs).cacheKey(), fresh.cacheKey());
        QCOMPARE(fresh, filled(QColor(0, 100, 0)));

        // However many frames are dropped, the fade ends on time.
        ProgramState late = fading();
        QCOMPARE(late.showStreams(fresh, 5'000'000).cacheKey(), fresh.cacheKey());
    }

    void aClipPlaysOverTheCut()
    {
        ProgramState state;
        static_cast<void>(state.showStreams(filled(Qt::red), 0));
        const auto half = std::make_shared<Frame>(64, 36); // of black
        half->opaque = false;
        for (std::size_t alpha = 3; alpha < half->pixels.size(); alpha += 4) {
            half->pixels[alpha] = 128;
        }
        FramePtr picture = half;
        bool isOver = false;
        std::weak_ptr<const char> held;
        const auto take = [&] {
            const auto clip = std::make_shared<const char>('c');
            held = clip;
            isOver = false;
            state.takeStreams({},
                {},
                false,
                { TransitionKind::Clip },
                0,
                { [&picture, clip] { return picture; }, [&] { return isOver; }, 500'000 });
        };
        const auto red = [&](std::int64_t at) {
            return state.showStreams(filled(QColor(200, 0, 0)), at).pixelColor(5, 5).red();
        };
        take();
        QVERIFY(qAbs(red(499'000) - 127) < 2);
        QVERIFY(qAbs(red(500'000) - 100) < 2);
        picture = nullptr; // none yet
        QCOMPARE(red(600'000), 200);
        isOver = true;
        QVERIFY(!held.expired());
        QCOMPARE(red(700'000), 200);
        QVERIFY(held.expired());
        take();
        isOver = true; // before the cut is due
        QCOMPARE(red(499'000), 200);
        QVERIFY(!held.expired());
        take();
        QCOMPARE(red(ProgramTransition::longestClipUs), 200); // it does not play for ever
        QVERIFY(held.expired());
    }

    void clearStopsEverything()
    {
        ProgramState state = fading();
        state.takeHall(makeScene(u"sala"_s, { Layer {} }), Transition {}, 0);
        state.clear();
        QVERIFY(!state.streams() && !state.hall());
        const QImage black = filled(Qt::black);
        QCOMPARE(state.showStreams(black, 0).cacheKey(), black.cacheKey());
        QCOMPARE(state.showHall(black, 0).cacheKey(), black.cacheKey());
    }

    void otherSizeOnAirIsPaintedAtTheOrigin()
    {
        ProgramState state = fading({ 36, 64 });
        const QImage shown = state.showStreams(filled(Qt::black), 0);
        QCOMPARE(shown.size(), QSize(64, 36));
        QVERIFY(shown.pixelColor(10, 10).red() > 250);
        QCOMPARE(shown.pixelColor(50, 10), QColor(Qt::black));
    }
};

class FrameScheduleTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void framesKeepTheirSpacing()
    {
        FrameSchedule schedule(start);
        QVERIFY(!schedule.due(start - 1));
        std::int64_t frames = 0;
        for (std::int64_t at = 0; at <= 10'000'000; at += 5'000) { // the timer's turns
            if (const auto time = schedule.due(start + at)) {
                QCOMPARE(*time - start, frames * period);
                QVERIFY(at - (*time - start) < 5'000);
                ++frames;
            }
        }
        QCOMPARE(frames, 301);
        QCOMPARE(schedule.skipped(), 0);
    }

    void stallIsMadeUpOrSkipped()
    {
        struct Row {
            std::int64_t stall;
            std::size_t burst; ///< frames made by the first ticks after it, 1 ms apart
            std::int64_t first; ///< time of the first of them
            std::int64_t skipped;
        };
        // Slots 1..6 lie within 200 ms; one frame per tick until the schedule has caught up.
        for (const auto &[stall, burst, first, skipped] : { Row { 200'000, 6, period, 0 },
                 { period * 2 + 250'000, 10, period, 0 },
                 { period * 2 + 250'001, 1, period * 2 + 250'001, 8 },
                 { 1'000'000, 1, 1'000'000, 29 },
                 { 10'000'000, 1, 10'000'000, 299 } }) {
            FrameSchedule schedule(start);
            QVERIFY(schedule.due(start));
            std::vector<std::int64_t> made;
            for (std::int64_t tick = 0; tick < 20'000; tick += 1'000) {
                if (const auto time = schedule.due(start + stall + tick)) {
                    made.push_back(*time - start);
                }
            }
            QCOMPARE(made.size(), burst);
            for (std::size_t i = 0; i < made.size(); ++i) {
                QCOMPARE(made[i], first + static_cast<std::int64_t>(i) * period);
            }
            QCOMPARE(schedule.skipped(), skipped);
            // The schedule goes on evenly from there.
            const std::int64_t next = made.back() + period;
            QVERIFY(!schedule.due(start + next - 1));
            QCOMPARE(schedule.due(start + next), std::optional(start + next));
        }
    }
};

NIMBARA_TEST(ProgramStateTest)
NIMBARA_TEST(FrameScheduleTest)
#include "program_state_test.moc"
