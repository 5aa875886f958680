#include "base/picture_memory.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QTest>

#include <algorithm>

using namespace nimbara;

class PictureMemoryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Against blocks that are kept for ever, go with each picture of a video, or serve a picture
    /// that is larger.
    void servesTheNextPictureAndThenTheSystem()
    {
        constexpr std::size_t small = 1280 * 720 * 3 / 2;
        constexpr std::size_t large = 1920 * 1080 * 4;
        testing::ManualClock clock;
        PictureMemory memory(clock);
        void *first = memory.take(large);
        void *second = memory.take(large);
        std::fill_n(static_cast<char *>(first), large, '\1');
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
};

NIMBARA_TEST(PictureMemoryTest)
#include "picture_memory_test.moc"
