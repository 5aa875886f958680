#include "studio/outputs/recording_desk.h"

#include "base/error.h"

#include <QFileInfo>

#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t minuteUs = 60'000'000;

Message nameOf(const QString &path)
{
    return Message::verbatim(QFileInfo(path).fileName());
}

} // namespace

RecordingDesk::RecordingDesk(const Clock &clock,
    Outputs &outputs,
    const Stage &stage,
    const QString &journalFolder,
    DiskWatch::Look disk)
    : m_clock(clock)
    , m_outputs(outputs)
    , m_stage(stage)
    , m_journal(journalFolder)
    , m_disk(std::move(disk))
{
    m_journal.mendUnfinished();
}

QString RecordingDesk::freePath(const QString &path)
{
    const QFileInfo file(path);
    const QString stem = file.path() + QLatin1Char('/') + file.completeBaseName();
    const QString end = file.suffix().isEmpty() ? QString() : QLatin1Char('.') + file.suffix();
    QString free = path;
    for (int number = 2; QFileInfo::exists(free); ++number) {
        free = stem + QStringLiteral(" %1").arg(number) + end;
    }
    return free;
}

bool RecordingDesk::isActive() const
{
    return m_isPaused || m_outputs.recording().state() == RecordingState::recording;
}

void RecordingDesk::start(const QString &path)
{
    const QString free = path.isEmpty() ? path : freePath(path);
    open(free);
    m_firstPath = path;
    Q_EMIT changed();
}

void RecordingDesk::open(const QString &path)
{
    m_outputs.recording().start(path,
        m_stage.streamFrame(),
        m_stage.document.project().videoKbits * 1000);
    follow(path);
}

void RecordingDesk::follow(const QString &path)
{
    m_path = path;
    m_lastEntry = std::exchange(m_entry, m_journal.begin(path));
    m_disk.watch(path);
    m_partStartedUs = m_clock.monotonicUs();
    m_grownUs = m_partStartedUs;
    m_fileBytes = -1;
}

void RecordingDesk::finish()
{
    m_outputs.recording().finish();
    if (std::exchange(m_isPaused, false)) {
        Q_EMIT said("Grabación terminada.");
    }
    Q_EMIT changed();
}

void RecordingDesk::pause()
{
    if (m_outputs.recording().state() == RecordingState::recording) {
        m_isPaused = true;
        m_outputs.recording().finish();
        Q_EMIT said("Grabación en pausa.");
        Q_EMIT changed();
    }
}

void RecordingDesk::resume()
{
    if (m_isPaused && !m_outputs.recording().exists()) {
        open(freePath(m_firstPath));
        m_isPaused = false;
        Q_EMIT said(Message("Grabando en %1", { nameOf(m_path) }));
        Q_EMIT changed();
    }
}

void RecordingDesk::ended(bool cleanly)
{
    m_disk.watch({});
    m_freeBytes.reset();
    if (m_entry && cleanly) {
        m_entry->finished();
    }
    if (m_lastEntry) {
        m_lastEntry->finished();
    }
    m_entry.reset();
    m_lastEntry.reset();
    m_isPaused = m_isPaused && cleanly;
    Q_EMIT changed();
}

void RecordingDesk::poll()
{
    for (const Message &text : m_journal.poll()) {
        Q_EMIT said(text);
    }
    if (m_outputs.recording().state() != RecordingState::recording) {
        return;
    }
    if (m_partMinutes > 0 && m_outputs.recording().canStartPart()
        && m_clock.monotonicUs() - m_partStartedUs >= m_partMinutes * minuteUs) {
        nextPart();
    }
    if (const auto sample = m_disk.poll(m_clock.monotonicUs())) {
        judge(*sample);
    }
}

/// A part that cannot be opened is tried again when the next one is due.
void RecordingDesk::nextPart()
{
    const QString path = freePath(m_firstPath);
    try {
        m_outputs.recording().startPart(path);
        follow(path);
        Q_EMIT said(Message("Grabando en %1", { nameOf(path) }));
    } catch (const std::exception &error) {
        m_partStartedUs = m_clock.monotonicUs();
        Q_EMIT alarmed("La grabación sigue en el mismo archivo: " + errorMessage(error));
    }
}

void RecordingDesk::judge(const DiskWatch::Sample &sample)
{
    m_freeBytes.reset();
    if (sample.freeBytes >= 0) {
        m_freeBytes = sample.freeBytes;
    }
    if (m_freeBytes && *m_freeBytes < reserveBytes) {
        m_outputs.recording().finish();
        Q_EMIT alarmed("Quedan menos de 500 MB en el disco: la grabación se cerró. Las "
                       "transmisiones siguen.");
        Q_EMIT changed();
        return;
    }
    judgeGrowth(sample.fileBytes);
}

void RecordingDesk::judgeGrowth(std::int64_t fileBytes)
{
    const std::int64_t now = m_clock.monotonicUs();
    if (std::exchange(m_fileBytes, fileBytes) != fileBytes || !m_outputs.recording().ready()) {
        m_grownUs = now;
    }
    if (now - m_grownUs < growthUs) {
        return;
    }
    m_grownUs = now;
    m_outputs.recording().abandon();
    try {
        open(freePath(m_firstPath));
        Q_EMIT alarmed(
            Message("El archivo de la grabación no crecía; sigue en %1", { nameOf(m_path) }));
    } catch (const std::exception &error) {
        ended(false);
        Q_EMIT alarmed("La grabación se detuvo: " + errorMessage(error));
    }
}

} // namespace nimbara
