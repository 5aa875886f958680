#include "signal/audio_levels.h"
#include "support/error_of.h"
#include "support/test_registry.h"

#include <limits>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr float notNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

using Values = std::vector<float>;
using Peaks = std::array<double, 2>;

} // namespace

class AudioLevelsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void processesBlocks()
    {
        const Values two { 0.5F, -0.25F, -0.125F, 0 };
        const Values broken { notNumber, infinity, -infinity, 0.5F };
        const std::tuple<Values, GainState, Values, Peaks, Peaks> rows[] {
            { two, {}, two, { 0.5, 0.25 }, { 0.5, 0.25 } },
            { { 0.75F, -0.75F }, { false, 2 }, { 1, -1 }, { 0.75, 0.75 }, { 1, 1 } },
            { { 0.75F, 0.5F }, { false, 0 }, { 0, 0 }, { 0.75, 0.5 }, {} },
            { { 0.75F, 0.5F }, { true, 1 }, { 0, 0 }, { 0.75, 0.5 }, {} },
            { broken, {}, { 0, 0, 0, 0.5F }, { 0, 0.5 }, { 0, 0.5 } },
            { { 4, 0 }, {}, { 1, 0 }, { 4, 0 }, { 1, 0 } },
            { {}, {}, {}, {}, {} },
        };
        for (const auto &[in, gain, out, before, after] : rows) {
            const ProcessedBlock result = processBlock({ in, 1234 }, gain);
            QCOMPARE(result.block.samples, out);
            QCOMPARE(result.input.peak, before);
            QCOMPARE(result.output.peak, after);
            QCOMPARE(result.block.pts, 1234U);
        }
    }

    void refusesBadInput()
    {
        for (const auto &[count, gain, text] :
            { std::tuple { 3U, 1.0, "Bloque de audio incompleto" },
                { 2U, 2.0000001, "Ganancia invalida" },
                { 2U, -0.01, "Ganancia invalida" },
                { 2U, double { notNumber }, "Ganancia invalida" },
                { 2U, double { infinity }, "Ganancia invalida" } }) {
            QCOMPARE(errorOf([&, size = count, by = gain] {
                return processBlock({ Values(size), 0 }, { false, by });
            }),
                QLatin1String(text));
        }
    }

    void placesTheMeter()
    {
        const std::pair<double, int> rows[] { { 0, 0 },
            { 0.0001, 0 },
            { 0.001, 0 },
            { 0.1, 66 },
            { 0.5, 89 },
            { 0.6, 92 },
            { 1, 100 },
            { 10, 133 } };
        for (const auto &[peak, value] : rows) {
            QCOMPARE(meterValue(peak), value);
        }
    }

    void fifoKeepsTheNewest()
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

    void fifoFillsUpWithSilence()
    {
        AudioFifo fifo;
        fifo.push(Values { 1, 2 });
        std::vector<float> into(4, 9.0F);
        QCOMPARE(fifo.pop(into), 2U);
        QCOMPARE(into, (Values { 1, 2, 0, 0 }));
    }
};

NIMBARA_TEST(AudioLevelsTest)
#include "audio_levels_test.moc"
