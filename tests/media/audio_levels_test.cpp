#include "base/error.h"
#include "signal/audio_levels.h"
#include "support/test_registry.h"

#include <QTest>

#include <limits>

namespace nimbara::testing {

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

using Values = std::vector<float>;
using Peaks = std::array<double, 2>;

} // namespace

class AudioLevelsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void processesBlocks_data();
    void processesBlocks();
    void refusesBadInput_data();
    void refusesBadInput();
    void placesTheMeter_data();
    void placesTheMeter();
    void fifoKeepsTheNewest();
    void fifoFillsUpWithSilence();
};

void AudioLevelsTest::processesBlocks_data()
{
    QTest::addColumn<Values>("in");
    QTest::addColumn<bool>("muted");
    QTest::addColumn<double>("gain");
    QTest::addColumn<Values>("out");
    QTest::addColumn<Peaks>("inputPeak");
    QTest::addColumn<Peaks>("outputPeak");

    QTest::newRow("as it is") << Values { 0.5F, -0.25F, -0.125F, 0.0F } << false << 1.0
                              << Values { 0.5F, -0.25F, -0.125F, 0.0F } << Peaks { 0.5, 0.25 }
                              << Peaks { 0.5, 0.25 };
    QTest::newRow("gain clamps") << Values { 0.75F, -0.75F } << false << 2.0
                                 << Values { 1.0F, -1.0F } << Peaks { 0.75, 0.75 }
                                 << Peaks { 1.0, 1.0 };
    QTest::newRow("gain 0") << Values { 0.75F, 0.5F } << false << 0.0 << Values { 0.0F, 0.0F }
                            << Peaks { 0.75, 0.5 } << Peaks { 0.0, 0.0 };
    QTest::newRow("muted") << Values { 0.75F, 0.5F } << true << 1.0 << Values { 0.0F, 0.0F }
                           << Peaks { 0.75, 0.5 } << Peaks { 0.0, 0.0 };
    QTest::newRow("not finite") << Values { nan, infinity, -infinity, 0.5F } << false << 1.0
                                << Values { 0.0F, 0.0F, 0.0F, 0.5F } << Peaks { 0.0, 0.5 }
                                << Peaks { 0.0, 0.5 };
    QTest::newRow("beyond full scale")
        << Values { 4.0F, 0.0F } << false << 1.0 << Values { 1.0F, 0.0F } << Peaks { 4.0, 0.0 }
        << Peaks { 1.0, 0.0 };
    QTest::newRow("empty") << Values {} << false << 1.0 << Values {} << Peaks {} << Peaks {};
}

void AudioLevelsTest::processesBlocks()
{
    QFETCH(Values, in);
    QFETCH(bool, muted);
    QFETCH(double, gain);
    const ProcessedBlock result = processBlock({ in, 1234 }, { muted, gain });
    QTEST(result.block.samples, "out");
    QTEST(result.input.peak, "inputPeak");
    QTEST(result.output.peak, "outputPeak");
    QCOMPARE(result.block.pts, 1234U);
}

void AudioLevelsTest::refusesBadInput_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("gain");
    QTest::addColumn<QString>("text");
    const QString gainText = QStringLiteral("Ganancia invalida");
    QTest::newRow("odd count") << 3 << 1.0 << QStringLiteral("Bloque de audio incompleto");
    QTest::newRow("gain above") << 2 << 2.0000001 << gainText;
    QTest::newRow("gain below") << 2 << -0.01 << gainText;
    QTest::newRow("gain nan") << 2 << double { nan } << gainText;
    QTest::newRow("gain infinite") << 2 << double { infinity } << gainText;
}

void AudioLevelsTest::refusesBadInput()
{
    QFETCH(int, count);
    QFETCH(double, gain);
    AudioBlock block;
    block.samples.resize(static_cast<std::size_t>(count));
    try {
        processBlock(block, { false, gain });
        QFAIL("accepted");
    } catch (const Error &error) {
        QTEST(error.text(), "text");
    }
}

void AudioLevelsTest::placesTheMeter_data()
{
    QTest::addColumn<double>("peak");
    QTest::addColumn<int>("value");
    QTest::newRow("silence") << 0.0 << 0;
    QTest::newRow("below the floor") << 0.0001 << 0;
    QTest::newRow("-60 dBFS") << 0.001 << 0;
    QTest::newRow("-20 dBFS") << 0.1 << 66;
    QTest::newRow("amber") << 0.3 << 82;
    QTest::newRow("still amber") << 0.5 << 89;
    QTest::newRow("red") << 0.6 << 92;
    QTest::newRow("full scale") << 1.0 << 100;
    QTest::newRow("over") << 10.0 << 133;
}

void AudioLevelsTest::placesTheMeter()
{
    QFETCH(double, peak);
    QTEST(meterValue(peak), "value");
}

void AudioLevelsTest::fifoKeepsTheNewest()
{
    AudioFifo fifo(4);
    QCOMPARE(fifo.push(Values { 1, 2, 3 }), 0U);
    QCOMPARE(fifo.push(Values { 4, 5, 6 }), 2U);
    QCOMPARE(fifo.size(), 4U);
    QCOMPARE(fifo.at(0), 3.0F);
    fifo.drop(3);
    QCOMPARE(fifo.at(0), 6.0F);
    fifo.drop(100);
    QVERIFY(fifo.empty());
}

void AudioLevelsTest::fifoFillsUpWithSilence()
{
    AudioFifo fifo;
    fifo.push(Values { 1, 2 });
    std::vector<float> into(4, 9.0F);
    QCOMPARE(fifo.pop(into), 2U);
    QCOMPARE(into, (Values { 1, 2, 0, 0 }));
}

} // namespace nimbara::testing

using nimbara::testing::AudioLevelsTest;
NIMBARA_TEST(AudioLevelsTest)

#include "audio_levels_test.moc"
