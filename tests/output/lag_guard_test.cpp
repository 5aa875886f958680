#include "output/device_sound.h"
#include "output/mix/input_writer.h"
#include "output/mix/lag_guard.h"
#include "support/test_registry.h"

#include <QTest>

#include <algorithm>
#include <deque>

using namespace nimbara;
using namespace nimbara::testing;
using nimbara::testing::DeviceSound;

namespace {

constexpr std::int64_t blockFrames = 1600;
constexpr std::int64_t second = audioRate;

/// A device that captures on a clock of its own, a FIFO, and the guard that reads it tick by tick.
class Line {
public:
    Line(std::int64_t deviceBlock, double ppm)
        : m_deviceBlock(deviceBlock)
        , m_rate(audioRate * (1.0 + ppm / 1e6))
    {
    }

    /// One frame tick: what has been captured arrives, one block is read.
    void tick()
    {
        m_timeUs += 33'333;
        for (; m_delivered + m_deviceBlock <= now(); m_delivered += m_deviceBlock) {
            m_writer.append(m_fifo, m_sound.block(m_delivered, m_deviceBlock));
        }
        read(&m_fifo);
    }

    /// Nobody reads for a while; the capture keeps its eight newest blocks.
    void stall(std::int64_t us)
    {
        m_timeUs += us;
        const std::int64_t newest = now() / m_deviceBlock * m_deviceBlock;
        m_delivered = std::max(m_delivered, newest - 8 * m_deviceBlock);
    }

    void read(AudioFifo *fifo)
    {
        std::array<float, 2 * blockFrames> block {};
        m_guard.take(fifo, block);
        for (std::size_t i = 0; i < block.size(); i += 2) {
            m_steepest = std::max(m_steepest, std::abs(block[i] - m_previous));
            m_previous = block[i];
        }
        m_lags.push_back(DeviceSound::age(block.back(), now()));
        if (m_lags.size() > 30) {
            m_lags.pop_front();
        }
    }

    void run(std::int64_t ticks)
    {
        for (std::int64_t i = 0; i < ticks; ++i) {
            tick();
            m_worst = std::max(m_worst, standingLag());
        }
    }

    /// The least lag of the last second, in frames: what stays, whatever the size of the blocks.
    [[nodiscard]] std::int64_t standingLag() const
    {
        return *std::min_element(m_lags.begin(), m_lags.end());
    }
    /// 100 ms, and what a device with large blocks holds back itself before it delivers.
    [[nodiscard]] std::int64_t limit() const
    {
        return second / 10 + (m_deviceBlock > 1024 ? m_deviceBlock : 0);
    }
    [[nodiscard]] std::int64_t worstLag() const { return m_worst; }
    /// No step is larger than the steps of the sound itself, give or take what the fades add.
    [[nodiscard]] bool isSmooth() const { return m_steepest <= m_sound.steepest() * 1.1F + 0.006F; }
    [[nodiscard]] std::int64_t now() const
    {
        return static_cast<std::int64_t>(static_cast<double>(m_timeUs) * m_rate / 1e6);
    }
    LagGuard &guard() { return m_guard; }
    AudioFifo &fifo() { return m_fifo; }
    [[nodiscard]] const DeviceSound &sound() const { return m_sound; }

private:
    std::int64_t m_deviceBlock;
    double m_rate;
    std::int64_t m_timeUs = 0;
    std::int64_t m_delivered = 0;
    DeviceSound m_sound;
    AudioFifo m_fifo;
    InputWriter m_writer;
    LagGuard m_guard;
    float m_previous = 0;
    float m_steepest = 0;
    std::int64_t m_worst = 0;
    std::deque<std::int64_t> m_lags;
};

/// Service time of the drift test; four hours on demand.
std::int64_t driftMinutes()
{
    const int asked = qEnvironmentVariableIntValue("NIMBARA_DRIFT_MINUTES");
    return asked > 0 ? asked : 15;
}

} // namespace

class LagGuardTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void followsADriftingClock()
    {
        const std::vector<std::tuple<const char *, double, int>> rows {
            { "fast device", 200.0, 1024 },
            { "slow device", -200.0, 1024 },
            { "fast device, small blocks", 200.0, 480 },
            { "very slow device", -2000.0, 441 },
            { "very fast device, large blocks", 2000.0, 4096 },
        };
        for (const auto &[name, ppm, deviceBlock] : rows) {
            const RowName named(name);
            Line line(deviceBlock, ppm);
            line.run(30);
            line.guard().takeReport(); // start-up
            const std::int64_t ticks = driftMinutes() * 60 * 30;
            line.run(ticks);

            QVERIFY2(line.worstLag() < line.limit(), qPrintable(QString::number(line.worstLag())));
            QVERIFY(line.isSmooth());
            const LagGuard::Report report = line.guard().takeReport();
            QCOMPARE(report.silent, 0U);
            const double drift = static_cast<double>(ticks) // captured less read
                * (0.033333 * audioRate * (1.0 + ppm / 1e6) - blockFrames);
            const double mended
                = static_cast<double>(report.dropped) - static_cast<double>(report.stretched);
            QVERIFY2(std::abs(mended - drift) < second * 0.1, qPrintable(QString::number(mended)));
            qInfo("worst lag %.1f ms, dropped %.0f ms, stretched %.0f ms",
                static_cast<double>(line.worstLag()) / 48.0,
                static_cast<double>(report.dropped) / 48.0,
                static_cast<double>(report.stretched) / 48.0);
        }
    }

    void catchesUpAfterAStall()
    {
        const std::vector<std::tuple<const char *, int, int>> rows {
            { "1 s, 10 ms blocks", 480, 1000 },
            { "1 s, 21 ms blocks", 1024, 1000 },
            { "1 s, 43 ms blocks", 2048, 1000 },
            { "10 s, 21 ms blocks", 1024, 10000 },
            { "10 s, 85 ms blocks", 4096, 10000 },
            { "0.2 s, 21 ms blocks", 1024, 200 },
        };
        for (const auto &[name, deviceBlock, stallMs] : rows) {
            const RowName named(name);
            Line line(deviceBlock, 0);
            line.run(90);
            for (int i = 0; i < 3; ++i) { // one stall after another must not add up
                line.stall(stallMs * 1000LL);
                line.run(60); // a window of one second, after at most one more
                for (int tick = 0; tick < 60; ++tick) {
                    line.run(1);
                    QVERIFY2(line.standingLag() < line.limit(),
                        qPrintable(QString::number(line.standingLag())));
                }
            }
            QVERIFY(line.isSmooth());
        }
    }

    void leavesAGoodLineAlone()
    {
        // A decoder that hands over 0.2 s at once is no lag.
        for (const int deviceBlock : { 480, 1024, 9600 }) {
            Line line(deviceBlock, 0);
            line.run(90);
            line.guard().takeReport();
            line.run(1800);
            QCOMPARE(line.guard().takeReport().dropped, 0U);
            QVERIFY(line.isSmooth());
        }
    }

    void fadesWhereTheSoundBreaksOff()
    {
        Line line(1024, 0);
        line.run(90);
        line.guard().takeReport();
        AudioFifo &fifo = line.fifo();
        fifo.drop(fifo.size()); // the next ticks find nothing
        for (int i = 0; i < 10; ++i) {
            line.read(&fifo);
        }
        line.run(10);
        QVERIFY(line.isSmooth());
        const std::uint64_t silent = line.guard().takeReport().silent;
        QVERIFY(silent >= 10 * blockFrames && silent < 12 * blockFrames);
    }

    void skipsStaleSoundOfANewSource()
    {
        Line line(1024, 0);
        line.run(90);
        line.guard().takeReport();
        AudioFifo media; // has been filling unread for a second
        media.push(line.sound().block(line.now() - second, second).samples);
        line.read(&media);
        QVERIFY(DeviceSound::age(media.at(1), line.now()) < second / 10);
        line.read(nullptr);
        line.read(nullptr);
        QVERIFY(line.isSmooth());
        QVERIFY(line.guard().takeReport().empty());
    }
};

NIMBARA_TEST(LagGuardTest)
#include "lag_guard_test.moc"
