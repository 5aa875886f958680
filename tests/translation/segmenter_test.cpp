#include "support/test_registry.h"
#include "translation/pipeline/segmenter.h"
#include "translation/pipeline/wav.h"
#include "translation/signal.h"

#include <QTest>

#include <limits>

using namespace nimbara;
using namespace nimbara::testing;

class SegmenterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cuts_data();
    void cuts();
    void flushKeepsWhatWasSaid();
    void survivesBadSamples();
    void writesWavFiles();
};

namespace {

using Lengths = QList<int>; // in samples of 16 kHz

Lengths lengths(const std::vector<PhraseSamples> &phrases)
{
    Lengths found;
    for (const PhraseSamples &phrase : phrases) {
        found.append(static_cast<int>(phrase.size()));
    }
    return found;
}

} // namespace

void SegmenterTest::cuts_data()
{
    QTest::addColumn<Stretches>("stretches");
    QTest::addColumn<Lengths>("expected");
    const auto row = [](const char *name, const Stretches &stretches, const Lengths &expected) {
        QTest::newRow(name) << stretches << expected;
    };
    const double voice = 0.1;
    row("silence", { { 10000, 0 } }, {});
    row("hum below the threshold", { { 10000, 0.0063 } }, {});
    row("two silent seconds are left out", { { 2000, 0 }, { 1500, voice }, { 700, 0 } }, { 35200 });
    row("a little less is not", { { 1999, 0 }, { 1200, voice }, { 700, 0 } }, { 3549 * 16 });
    row("1.2 s and a pause of 700 ms", { { 1200, voice }, { 700, 0 } }, { 30400 });
    row("a pause of 699 ms is none", { { 1200, voice }, { 699, 0 }, { 1, voice } }, {});
    row("a short phrase waits for 1.2 s", { { 400, voice }, { 1600, 0 } }, { 19200 });
    row("3 s and a pause of 350 ms", { { 3200, voice }, { 350, 0 } }, { 56800 });
    row("the 350 ms may begin before 3 s", { { 2640, voice }, { 360, 0 } }, { 48000 });
    row("5 s, at the quietest 60 ms",
        { { 4000, voice }, { 60, 0.01 }, { 1640, voice }, { 700, 0 } },
        { 64480, 2370 * 16 });
    row("which is looked for in the last 1.5 s",
        { { 3000, voice }, { 60, 0.01 }, { 940, voice }, { 60, 0.02 }, { 940, voice } },
        { 64480 });
    row("the earliest of equals", { { 5000, voice } }, { 56480 });
    row("one sample in five is voice", { { 240, voice }, { 960, 0 } }, { 19200 });
    row("less is no phrase, the next one is",
        { { 239, voice }, { 961, 0 }, { 1200, voice }, { 700, 0 } },
        { 30400 });
}

void SegmenterTest::cuts()
{
    QFETCH(Stretches, stretches);
    Segmenter segmenter;
    QTEST(lengths(segmenter.push(signal(stretches))), "expected");
}

void SegmenterTest::flushKeepsWhatWasSaid()
{
    Segmenter segmenter;
    segmenter.push(signal({ { 500, 0.1 } }));
    QCOMPARE(segmenter.flush().size(), std::size_t { 8000 });
    QVERIFY(segmenter.flush().empty());
    segmenter.push(signal({ { 299, 0.1 } }));
    QVERIFY2(segmenter.flush().empty(), "too short to be words");
    QCOMPARE(lengths(segmenter.push(signal({ { 1200, 0.1 }, { 700, 0 } }))), Lengths { 30400 });
}

void SegmenterTest::survivesBadSamples()
{
    AudioBlock block = signal({ { 1200, 5.0 }, { 700, 0 } });
    block.samples[0] = std::numeric_limits<float>::quiet_NaN();
    block.samples[7] = -std::numeric_limits<float>::infinity();
    block.samples.push_back(0.5F); // half a frame
    const auto phrases = Segmenter().push(block);
    QCOMPARE(lengths(phrases), Lengths { 30400 });
    QCOMPARE(phrases[0][100], std::int16_t { 32767 });
}

void SegmenterTest::writesWavFiles()
{
    QCOMPARE(wavFile(std::vector<std::int16_t> { 1, -2, 0x1234 }),
        QByteArray::fromHex("52494646 2a000000 57415645 666d7420 10000000 0100 0100 803e0000"
                            "007d0000 0200 1000 64617461 06000000 0100 feff 3412"));
}

NIMBARA_TEST(SegmenterTest)
#include "segmenter_test.moc"
