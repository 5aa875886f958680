#include "clip_program.h"
#include "compositor/scene/frame_schedule.h"
#include "studio/outputs/recording_desk.h"
#include "studio/outputs/stream_desk.h"
#include "support/scripted_key_store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>

#include <cstdio>
#include <functional>
#include <map>
#include <unistd.h>

// The engine's outputs in real time, without sources and a window, as a child of a test. Lines on
// the input drive them; a line of JSON tells how they are, ten times a second.
// usage: outputs_run JOURNAL_FOLDER

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

class Run : public QObject {
public:
    explicit Run(const QString &journal)
        : m_stage(m_clock)
        , m_secrets(m_store, journal + u"/secrets.json"_s)
        , m_outputs(m_retirement)
        , m_streams(m_clock, m_outputs, m_stage, m_secrets)
        , m_recordings(m_clock, m_outputs, m_stage, journal)
        , m_schedule(m_clock.monotonicUs())
    {
        m_stage.document.setVideoKbits(2000);
        const auto tell = [this](const Message &text) { m_told.append(text.spanish()); };
        connect(&m_streams, &StreamDesk::failed, this, tell);
        connect(&m_recordings, &RecordingDesk::said, this, tell);
        connect(&m_recordings, &RecordingDesk::alarmed, this, tell);
        connect(&m_input, &QSocketNotifier::activated, this, [this] { readLines(); });
        startTimer(5, Qt::PreciseTimer);
    }

private:
    void timerEvent(QTimerEvent * /*event*/) override // as the studio's tick
    {
        m_retirement->reap();
        const std::int64_t now = m_clock.monotonicUs();
        m_streams.poll();
        m_recordings.poll();
        if (const auto due = m_schedule.due(now)) {
            const std::int64_t time = *due - m_schedule.origin();
            const std::int64_t number
                = (time + FrameSchedule::periodUs / 2) / FrameSchedule::periodUs;
            const FramePtr picture = m_clip.picture(number);
            QElapsedTimer timer;
            timer.start();
            tellStopped(m_outputs.push(picture, testing::ClipProgram::sound(number), time * 1000));
            m_ticks.append(static_cast<double>(timer.nsecsElapsed()) * 1e-6);
            const int every = leftOutEvery(m_outputs.encoders().effort());
            m_leftOut += every == 0 ? 0 : 1.0 / every;
        }
        if (now - m_reportedUs >= 100'000) {
            m_reportedUs = now;
            report();
        }
    }
    void tellStopped(const Outputs::Stopped &stopped)
    {
        if (stopped.recording) {
            m_told.append(stopped.recording->spanish());
            m_recordings.ended(*stopped.recording == Recording::savedText());
        }
        for (const std::size_t slot : stopped.destinations) {
            m_told.append(m_streams.lost(slot).spanish());
        }
    }
    void report()
    {
        QJsonArray slots;
        for (std::size_t slot = 0; slot < destinationCount; ++slot) {
            const Destination &destination = m_outputs.destination(slot);
            const auto dropped = destination.figures().value_or(OutletFigures {}).dropped;
            slots.append(QJsonObject { { u"text"_s, m_streams.statusText(slot).spanish() },
                { u"onAir"_s, m_streams.isOnAir(slot) },
                { u"sends"_s, destination.accepted() && destination.ready() },
                { u"dropped"_s, static_cast<qint64>(dropped) },
                { u"returns"_s, m_streams.reconnections(slot) } });
        }
        const std::uint64_t lost = m_outputs.encoders().lost() + m_schedule.skipped()
            + static_cast<std::uint64_t>(std::ceil(m_leftOut));
        const QJsonObject all { { u"slots"_s, slots },
            { u"began"_s, static_cast<double>(m_schedule.origin()) * 1e-6 },
            { u"recording"_s, m_outputs.recording().exists() },
            { u"recorded"_s, m_outputs.recording().ready() },
            { u"lost"_s, static_cast<qint64>(lost) }, // by the machine
            { u"leaving"_s, static_cast<qint64>(m_retirement->pending()) },
            { u"ticks"_s, std::exchange(m_ticks, {}) },
            { u"told"_s, std::exchange(m_told, {}) } };
        std::puts(QJsonDocument(all).toJson(QJsonDocument::Compact).constData());
        std::fflush(stdout);
    }
    void readLines()
    {
        std::array<char, 4096> part {};
        const auto size = ::read(STDIN_FILENO, part.data(), part.size());
        m_lines.append(part.data(), std::max<qsizetype>(size, 0));
        for (auto end = m_lines.indexOf('\n'); end >= 0; end = m_lines.indexOf('\n')) {
            obey(QString::fromUtf8(m_lines.first(end)));
            m_lines.remove(0, end + 1);
        }
        if (size <= 0) {
            QCoreApplication::quit();
        }
    }
    void obey(const QString &line)
    {
        const QString rest = line.section(u' ', 1);
        const auto slot = static_cast<std::size_t>(rest.section(u' ', 0, 0).toInt());
        const std::map<QString, std::function<void()>> words {
            { u"server"_s, [&] { m_streams.setServer(slot, rest.section(u' ', 1)); } },
            { u"key"_s, [&] { m_streams.setKey(slot, rest.section(u' ', 1)); } },
            { u"toggle"_s, [&] { m_streams.toggle(slot); } },
            { u"parts"_s, [&] { m_recordings.setPartMinutes(rest.toInt()); } },
            { u"record"_s, [&] { m_recordings.start(rest); } },
            { u"finish"_s, [&] { m_recordings.finish(); } },
        };
        words.at(line.section(u' ', 0, 0))();
    }

    SystemClock m_clock;
    Stage m_stage;
    testing::ScriptedKeyStore m_store;
    SecretStore m_secrets;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    Outputs m_outputs;
    StreamDesk m_streams;
    RecordingDesk m_recordings;
    FrameSchedule m_schedule;
    testing::ClipProgram m_clip { landscapeSize };
    QSocketNotifier m_input { STDIN_FILENO, QSocketNotifier::Read };
    QByteArray m_lines; ///< of the input, the last one not whole yet
    std::int64_t m_reportedUs = 0;
    double m_leftOut = 0; ///< pictures, to spare the machine
    QJsonArray m_ticks; ///< ms that the outputs took of each
    QJsonArray m_told;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    gst_init(nullptr, nullptr);
    const Run run(QCoreApplication::arguments().value(1));
    return QCoreApplication::exec();
}
