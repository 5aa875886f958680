#include "compositor/scene/frame_schedule.h"
#include "support/test_registry.h"

#include <QTest>

#include <vector>

using nimbara::FrameSchedule;

namespace {

constexpr std::int64_t start = 5'000'000;
constexpr std::int64_t period = 33'333;

} // namespace

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

NIMBARA_TEST(FrameScheduleTest)
#include "frame_schedule_test.moc"
