#include "output/device_sound.h"
#include "output/encode/audio_timeline.h"
#include "output/mix/input_writer.h"
#include "output/mix/lag_guard.h"
#include "support/test_registry.h"

#include <deque>
#include <numbers>
#include <span>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// The largest step between two values of the left side.
class Steps {
public:
    void add(std::span<const float> values)
    {
        for (std::size_t i = 0; i < values.size(); i += 2) {
            m_steepest = std::max(m_steepest, std::abs(values[i] - m_previous));
            m_previous = values[i];
        }
    }
    /// None is larger than those of the sound itself, give or take what the fades add.
    [[nodiscard]] bool areSmooth() const
    {
        Steps own;
        own.add(DeviceSound().block(0, 4800).samples);
        return m_steepest <= own.m_steepest * 1.1F + 0.006F;
    }

private:
    float m_previous = 0;
    float m_steepest = 0;
};

constexpr std::int64_t blockFrames = 1600;
constexpr std::int64_t second = audioRate;

/// A device that captures on a clock of its own, a FIFO, and the guard that reads it tick by tick.
class Line {
public:
    explicit Line(std::int64_t deviceBlock, double ppm = 0)
        : m_deviceBlock(deviceBlock)
        , m_rate(audioRate * (1.0 + ppm / 1e6))
    {
        run(90);
        guard.takeReport(); // start-up
    }

    /// One frame tick: what has been captured arrives, one block is read.
    void tick()
    {
        m_timeUs += 33'333;
        for (; m_delivered + m_deviceBlock <= now(); m_delivered += m_deviceBlock) {
            m_writer.append(fifo, sound.block(m_delivered, m_deviceBlock));
        }
        read(&fifo);
    }

    /// Nobody reads for a while; the capture keeps its eight newest blocks.
    void stall(std::int64_t us)
    {
        m_timeUs += us;
        const std::int64_t newest = now() / m_deviceBlock * m_deviceBlock;
        m_delivered = std::max(m_delivered, newest - 8 * m_deviceBlock);
    }

    void read(AudioFifo *from)
    {
        std::array<float, 2 * blockFrames> block {};
        guard.take(from, block);
        m_steps.add(block);
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
    [[nodiscard]] bool isSmooth() const { return m_steps.areSmooth(); }
    [[nodiscard]] std::int64_t now() const
    {
        return static_cast<std::int64_t>(static_cast<double>(m_timeUs) * m_rate / 1e6);
    }

    DeviceSound sound;
    AudioFifo fifo;
    LagGuard guard;

private:
    std::int64_t m_deviceBlock;
    double m_rate;
    std::int64_t m_timeUs = 0;
    std::int64_t m_delivered = 0;
    InputWriter m_writer;
    Steps m_steps;
    std::int64_t m_worst = 0;
    std::deque<std::int64_t> m_lags;
};

/// Takes the pieces of a time line as an encoder does: it counts frames.
struct Encoder {
    /// False when the piece does not start where the one before ended.
    bool take(const AudioTimeline::Piece &piece)
    {
        constexpr std::uint64_t frameNs = 1'000'000'000 / audioRate + 1;
        const std::uint64_t expected = frames * 1'000'000'000 / audioRate;
        frames += piece.values.size() / audioChannels;
        steps.add(piece.values);
        return piece.pts + frameNs > expected && piece.pts < expected + frameNs;
    }

    std::uint64_t frames = 0;
    Steps steps;
};

} // namespace

class LagGuardTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void followsADriftingClock()
    {
        // Minutes of service; four hours on demand.
        const int asked = qEnvironmentVariableIntValue("NIMBARA_DRIFT_MINUTES");
        const std::int64_t ticks = std::int64_t { asked > 0 ? asked : 15 } * 60 * 30;
        for (const auto &[name, ppm, deviceBlock] : { std::tuple { "fast device", 200.0, 1024 },
                 { "slow device", -200.0, 1024 },
                 { "fast device, small blocks", 200.0, 480 },
                 { "very slow device", -2000.0, 441 },
                 { "very fast device, large blocks", 2000.0, 4096 } }) {
            const RowName named(name);
            Line line(deviceBlock, ppm);
            line.run(ticks);

            QVERIFY2(line.worstLag() < line.limit(), qPrintable(QString::number(line.worstLag())));
            QVERIFY(line.isSmooth());
            const LagGuard::Report report = line.guard.takeReport();
            QCOMPARE(report.silent, 0U);
            const double drift = static_cast<double>(ticks) // captured less read
                * (0.033333 * audioRate * (1.0 + ppm / 1e6) - blockFrames);
            const double mended
                = static_cast<double>(report.dropped) - static_cast<double>(report.stretched);
            QVERIFY2(std::abs(mended - drift) < second * 0.1, qPrintable(QString::number(mended)));
        }
    }

    void catchesUpAfterAStall()
    {
        for (const auto &[deviceBlock, stallMs] : { std::pair { 480, 1000 },
                 { 1024, 1000 },
                 { 2048, 1000 },
                 { 1024, 10000 },
                 { 4096, 10000 },
                 { 1024, 200 } }) {
            const RowName named(
                QByteArray::number(deviceBlock) + ", ms: " + QByteArray::number(stallMs));
            Line line(deviceBlock);
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
            Line line(deviceBlock);
            line.run(1800);
            QCOMPARE(line.guard.takeReport().dropped, 0U);
            QVERIFY(line.isSmooth());
        }
    }

    void fadesWhereTheSoundBreaksOff()
    {
        Line line(1024);
        line.fifo.drop(line.fifo.size()); // the next ticks find nothing
        for (int i = 0; i < 10; ++i) {
            line.read(&line.fifo);
        }
        line.run(10);
        QVERIFY(line.isSmooth());
        const std::uint64_t silent = line.guard.takeReport().silent;
        QVERIFY(silent >= 10 * blockFrames && silent < 12 * blockFrames);
    }

    void skipsStaleSoundOfANewSource()
    {
        Line line(1024);
        AudioFifo media; // has been filling unread for a second
        media.push(line.sound.block(line.now() - second, second).samples);
        line.read(&media);
        QVERIFY(DeviceSound::age(media.at(1), line.now()) < second / 10);
        line.read(nullptr);
        line.read(nullptr);
        QVERIFY(line.isSmooth());
        QVERIFY(line.guard.takeReport().empty());
    }
};

class AudioTimelineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void staysWithTheScheduleForHours()
    {
        AudioTimeline line;
        Encoder encoder;
        const std::vector<float> silence(3200);
        for (std::uint64_t tick = 0; tick < 30ULL * 3600; ++tick) {
            QVERIFY(encoder.take(line.place(silence, tick * 33'333'000)));
        }
        QVERIFY(encoder.frames < 30ULL * 3600 * 1600); // some were left out
    }

    void fillsHolesWithoutClicks()
    {
        for (const std::uint64_t holeUs : { 1'000U, 33'333U, 1'000'000U, 10'000'000U }) {
            const RowName named(QByteArray::number(static_cast<int>(holeUs)));
            const DeviceSound sound;
            AudioTimeline line;
            Encoder encoder;
            for (std::int64_t tick = 0; tick < 60; ++tick) {
                const std::uint64_t pts = static_cast<std::uint64_t>(tick) * 33'333'000
                    + (tick >= 30 ? holeUs * 1'000 : 0);
                QVERIFY(encoder.take(line.place(sound.block(tick * 1600, 1600).samples, pts)));
            }
            QVERIFY(encoder.steps.areSmooth());
        }
    }

    void leavesALongHoleOpen()
    {
        AudioTimeline line;
        const std::vector<float> block(3200, 0.5F);
        line.place(block, 0);
        const std::uint64_t late = 40'000'000'000;
        const auto piece = line.place(block, late);
        QCOMPARE(piece.pts, late);
        QCOMPARE(piece.values.size(), block.size());
    }
};

NIMBARA_TEST(LagGuardTest)
NIMBARA_TEST(AudioTimelineTest)
#include "lag_guard_test.moc"
