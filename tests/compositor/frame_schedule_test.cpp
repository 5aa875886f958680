#include "compositor/frame_schedule.h"
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
    void firstFrameIsDueAtOnce();
    void framesKeepTheirSpacing();
    void stallIsMadeUpOrSkipped_data();
    void stallIsMadeUpOrSkipped();
    void thresholdCountsFromTheSlotAfterTheNext();
};

void FrameScheduleTest::firstFrameIsDueAtOnce()
{
    FrameSchedule schedule(start);
    QCOMPARE(schedule.origin(), start);
    QVERIFY(!schedule.due(start - 1));
    QCOMPARE(schedule.due(start), std::optional(start));
    QVERIFY(!schedule.due(start + period - 1));
    QCOMPARE(schedule.due(start + period), std::optional(start + period));
}

void FrameScheduleTest::framesKeepTheirSpacing()
{
    FrameSchedule schedule(start);
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

void FrameScheduleTest::stallIsMadeUpOrSkipped_data()
{
    QTest::addColumn<qint64>("stallUs");
    QTest::addColumn<int>("burst"); ///< frames made by the first ticks after the stall, 1 ms apart
    QTest::addColumn<bool>("anchored");
    QTest::addColumn<qint64>("skipped");
    // Slots 1..6 lie within 200 ms; one frame per tick until the schedule has caught up.
    QTest::newRow("200 ms") << qint64 { 200'000 } << 6 << false << qint64 { 0 };
    QTest::newRow("1 s") << qint64 { 1'000'000 } << 1 << true << qint64 { 29 };
    QTest::newRow("10 s") << qint64 { 10'000'000 } << 1 << true << qint64 { 299 };
}

void FrameScheduleTest::stallIsMadeUpOrSkipped()
{
    QFETCH(qint64, stallUs);
    QFETCH(int, burst);
    QFETCH(bool, anchored);
    QFETCH(qint64, skipped);
    FrameSchedule schedule(start);
    QVERIFY(schedule.due(start));

    std::vector<std::int64_t> made;
    for (std::int64_t tick = 0; tick < 20'000; tick += 1'000) {
        if (const auto time = schedule.due(start + stallUs + tick)) {
            made.push_back(*time - start);
        }
    }
    QCOMPARE(made.size(), static_cast<std::size_t>(burst));
    const std::int64_t first = anchored ? stallUs : period;
    for (std::size_t i = 0; i < made.size(); ++i) {
        QCOMPARE(made[i], first + static_cast<std::int64_t>(i) * period);
    }
    QCOMPARE(schedule.skipped(), skipped);
    // The schedule goes on evenly from there.
    const std::int64_t next = made.back() + period;
    QVERIFY(!schedule.due(start + next - 1));
    QCOMPARE(schedule.due(start + next), std::optional(start + next));
}

void FrameScheduleTest::thresholdCountsFromTheSlotAfterTheNext()
{
    FrameSchedule schedule(start);
    QCOMPARE(schedule.due(start + period + 250'000), std::optional(start));

    FrameSchedule later(start);
    const std::int64_t now = start + period + 250'001;
    QCOMPARE(later.due(now), std::optional(now));
    QCOMPARE(later.next(), now + period);
}

NIMBARA_TEST(FrameScheduleTest)
#include "frame_schedule_test.moc"
