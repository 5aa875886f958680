#include "support/test_registry.h"
#include "translation/segmenter.h"
#include "translation/signal.h"
#include "translation/wav.h"

#include <QTest>
#include <QtEndian>

#include <limits>

using namespace nimbara;
using namespace nimbara::testing;

class SegmenterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cuts_data();
    void cuts();
    void doesNotDependOnTheBlocks();
    void flushKeepsWhatWasSaid();
    void survivesBadSamples();
    void writesWavFiles();
};

namespace {

QList<int> lengths(const std::vector<PhraseSamples> &phrases)
{
    QList<int> found;
    for (const PhraseSamples &phrase : phrases) {
        found.append(static_cast<int>(phrase.size()));
    }
    return found;
}

} // namespace

void SegmenterTest::cuts_data()
{
    QTest::addColumn<Stretches>("stretches");
    QTest::addColumn<QList<int>>("expected"); // samples of 16 kHz
    const double voice = 0.1;
    QTest::newRow("silence") << Stretches { { 10000, 0 } } << QList<int> {};
    QTest::newRow("hum below the threshold") << Stretches { { 10000, 0.0063 } } << QList<int> {};
    QTest::newRow("two silent seconds are thrown away")
        << Stretches { { 2000, 0 }, { 1500, voice }, { 700, 0 } } << QList<int> { 35200 };
    QTest::newRow("less leading silence belongs to the phrase")
        << Stretches { { 1999, 0 }, { 1200, voice }, { 700, 0 } } << QList<int> { 3549 * 16 };
    QTest::newRow("1.2 s and a pause of 700 ms")
        << Stretches { { 1200, voice }, { 700, 0 } } << QList<int> { 30400 };
    QTest::newRow("a pause of 699 ms is none")
        << Stretches { { 1200, voice }, { 699, 0 }, { 1, voice } } << QList<int> {};
    QTest::newRow("a short phrase waits for 1.2 s")
        << Stretches { { 400, voice }, { 1600, 0 } } << QList<int> { 19200 };
    QTest::newRow("3 s and a pause of 350 ms")
        << Stretches { { 3200, voice }, { 350, 0 } } << QList<int> { 56800 };
    QTest::newRow("the 350 ms may begin before 3 s")
        << Stretches { { 2640, voice }, { 360, 0 } } << QList<int> { 48000 };
    QTest::newRow("5 s without a pause, at the quietest 60 ms")
        << Stretches { { 4000, voice }, { 60, 0.01 }, { 1640, voice }, { 700, 0 } }
        << QList<int> { 64480, (6400 - 4030) * 16 };
    QTest::newRow("the quietest place is looked for in the last 1.5 s")
        << Stretches { { 3000, voice }, { 60, 0.01 }, { 940, voice }, { 60, 0.02 }, { 940, voice } }
        << QList<int> { 64480 };
    QTest::newRow("the earliest of equals")
        << Stretches { { 5000, voice } } << QList<int> { 56480 };
    QTest::newRow("one sample in five is voice")
        << Stretches { { 240, voice }, { 960, 0 } } << QList<int> { 19200 };
    QTest::newRow("less is no phrase, and the next one is")
        << Stretches { { 239, voice }, { 961, 0 }, { 1200, voice }, { 700, 0 } }
        << QList<int> { 30400 };
}

void SegmenterTest::cuts()
{
    QFETCH(Stretches, stretches);
    QFETCH(QList<int>, expected);
    Segmenter segmenter;
    QCOMPARE(lengths(segmenter.push(signal(stretches))), expected);
}

void SegmenterTest::doesNotDependOnTheBlocks()
{
    const AudioBlock voice = signal({ { 3100, 0.2 },
        { 400, 0 },
        { 2500, -0.3 },
        { 90, 0.007 },
        { 3000, 0.1 },
        { 800, 0 },
        { 1300, 0.4 },
        { 900, 0 } });
    Segmenter whole;
    const auto expected = whole.push(voice);
    QCOMPARE(expected.size(), std::size_t { 4 });
    for (const std::size_t frames :
        { std::size_t { 1 }, std::size_t { 7 }, std::size_t { 1024 } }) {
        Segmenter segmenter;
        std::vector<PhraseSamples> phrases;
        inPieces(voice, frames, [&](const AudioBlock &piece) {
            for (auto &phrase : segmenter.push(piece)) {
                phrases.push_back(std::move(phrase));
            }
        });
        QVERIFY(phrases == expected);
    }
}

void SegmenterTest::flushKeepsWhatWasSaid()
{
    Segmenter segmenter;
    QVERIFY(segmenter.push(signal({ { 500, 0.1 } })).empty());
    QCOMPARE(segmenter.flush().size(), std::size_t { 8000 });
    QVERIFY(segmenter.flush().empty());
    QVERIFY(segmenter.push(signal({ { 299, 0.1 } })).empty());
    QVERIFY2(segmenter.flush().empty(), "too short to be words");
    QCOMPARE(lengths(segmenter.push(signal({ { 1200, 0.1 }, { 700, 0 } }))), QList<int> { 30400 });
}

void SegmenterTest::survivesBadSamples()
{
    Segmenter segmenter;
    AudioBlock block = signal({ { 1200, 5.0 }, { 700, 0 } });
    block.samples[0] = std::numeric_limits<float>::quiet_NaN();
    block.samples[7] = -std::numeric_limits<float>::infinity();
    block.samples.push_back(0.5F); // half a frame
    const auto phrases = segmenter.push(block);
    QCOMPARE(lengths(phrases), QList<int> { 30400 });
    QCOMPARE(phrases[0][100], std::int16_t { 32767 });
}

void SegmenterTest::writesWavFiles()
{
    const QByteArray file = wavFile(std::vector<std::int16_t> { 1, -2, 0x1234 });
    QCOMPARE(file.size(), 50);
    QCOMPARE(file.left(4) + file.mid(8, 8), QByteArray("RIFFWAVEfmt "));
    const auto u32 = [&](int at) { return qFromLittleEndian<quint32>(file.constData() + at); };
    const auto u16 = [&](int at) { return qFromLittleEndian<quint16>(file.constData() + at); };
    QCOMPARE(u32(4), 42U);
    QCOMPARE(u32(16), 16U);
    QCOMPARE(u16(20), 1);
    QCOMPARE(u16(22), 1);
    QCOMPARE(u32(24), 16000U);
    QCOMPARE(u32(28), 32000U);
    QCOMPARE(u16(32), 2);
    QCOMPARE(u16(34), 16);
    QCOMPARE(file.mid(36, 4), QByteArray("data"));
    QCOMPARE(u32(40), 6U);
    QCOMPARE(file.mid(44), QByteArray::fromHex("0100feff3412"));
}

NIMBARA_TEST(SegmenterTest)
#include "segmenter_test.moc"
