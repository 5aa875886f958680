#include "base/error.h"
#include "clip_program.h"
#include "compositor/scene/frame_schedule.h"
#include "media/sources/retirement.h"
#include "output/sink/outputs.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

// A service of hours through the engine's outputs in a fraction of its time, with small pictures: a
// recording and two streams. A line tells each ten minutes of it; the last two how many pictures
// were lost on the way, and how the recording ended. usage: hours_run SPEED HOURS RECORDING SERVER

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize smallSize { 480, 270 };
constexpr std::int32_t smallBitrate = 500'000;
constexpr std::size_t streams = 2;

class Service : public QObject {
public:
    Service(double speed, double hours)
        : m_speed(speed)
        , m_pictures(static_cast<std::int64_t>(hours * 3600 * 30))
    {
    }
    void begin(const QString &recording, const QString &server)
    {
        m_outputs.recording().start(recording, smallSize, smallBitrate);
        for (std::size_t slot = 0; slot < streams; ++slot) {
            const QString key = u"hours-%1"_s.arg(slot);
            m_outputs.destination(slot).start(server, key, smallSize, smallBitrate);
        }
        m_clock.start();
        startTimer(1, Qt::PreciseTimer);
    }

private:
    void timerEvent(QTimerEvent * /*event*/) override
    {
        m_retirement->reap();
        const auto due = static_cast<std::int64_t>(static_cast<double>(m_clock.nsecsElapsed())
            * m_speed / (FrameSchedule::periodUs * 1e3));
        for (; m_next < std::min(due, m_pictures); ++m_next) {
            const std::int64_t time = m_next * FrameSchedule::periodUs;
            tell(m_outputs.push(m_clip.picture(m_next),
                testing::ClipProgram::sound(m_next),
                time * 1000));
            if (m_next % (600 * 30) == 0) {
                std::printf("minute %d\n", static_cast<int>(m_next / 1800));
                std::fflush(stdout);
            }
        }
        if (m_next == m_pictures) {
            end();
        }
    }
    void end()
    {
        if (!std::exchange(m_isEnding, true)) {
            for (std::size_t slot = 0; slot < streams; ++slot) {
                const Destination &stream = m_outputs.destination(slot);
                m_dropped += stream.figures().value_or(OutletFigures {}).dropped;
                m_outputs.destination(slot).stop();
            }
            m_outputs.recording().finish();
            m_outputs.recording().endEncoder();
        }
        if (const auto told = m_outputs.recording().poll()) {
            std::printf("lost %d\n%s\n",
                static_cast<int>(m_outputs.encoders().lost() + m_dropped),
                qPrintable(told->spanish()));
            QCoreApplication::quit();
        }
    }
    /// Nothing may stop before the end.
    static void tell(const Outputs::Stopped &stopped)
    {
        if (stopped.recording || !stopped.destinations.empty()) {
            std::printf("stopped: %s\n",
                stopped.recording ? qPrintable(stopped.recording->spanish()) : "a stream");
            std::exit(1);
        }
    }

    double m_speed;
    std::int64_t m_pictures;
    std::int64_t m_next = 0;
    std::uint64_t m_dropped = 0;
    bool m_isEnding = false;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    Outputs m_outputs { m_retirement };
    testing::ClipProgram m_clip { smallSize };
    QElapsedTimer m_clock;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    gst_init(nullptr, nullptr);
    const QStringList words = QCoreApplication::arguments();
    Service service(words.value(1).toDouble(), words.value(2).toDouble());
    try {
        service.begin(words.value(3), words.value(4));
    } catch (const Error &error) {
        std::printf("stopped: %s\n", error.what());
        return 1;
    }
    return QCoreApplication::exec();
}
