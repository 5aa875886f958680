#include "base/picture_memory.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QTest>

#include <algorithm>

namespace nimbara {

class PictureMemoryTest final : public QObject {
    Q_OBJECT

private slots:
    void servesTheNextPictureAndThenTheSystem();
};

/// Against blocks that are kept for ever, are given to a picture that is larger, or go one by one
/// with each picture of a video.
void PictureMemoryTest::servesTheNextPictureAndThenTheSystem()
{
    constexpr std::size_t small = 1280 * 720 * 3 / 2;
    constexpr std::size_t large = 1920 * 1080 * 4;
    testing::ManualClock clock;
    PictureMemory memory(clock);
    void *first = memory.take(large);
    void *second = memory.take(large);
    std::fill_n(static_cast<char *>(first), large, 1);
    memory.give(first, large);
    memory.give(second, large);
    void *other = memory.take(small);
    QVERIFY(other != first && other != second);
    QCOMPARE(memory.take(large), second); // the warm one
    memory.give(second, large);

    clock.advanceUs(PictureMemory::keptForUs - 1);
    memory.tidy();
    QVERIFY(memory.idleBytes() >= 2 * large);
    memory.give(memory.take(large), large); // in use: young again
    clock.advanceUs(1);
    memory.tidy();
    memory.tidy();
    QCOMPARE(memory.take(large), second);
    QCOMPARE(memory.idleBytes(), std::size_t { 0 });
    memory.give(second, large);
    memory.give(other, small);
}

} // namespace nimbara

NIMBARA_TEST(nimbara::PictureMemoryTest)

#include "picture_memory_test.moc"
