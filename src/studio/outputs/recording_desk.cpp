#include "studio/outputs/recording_desk.h"

#include "base/error.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t minuteUs = 60'000'000;
constexpr int healthyGrowths = 5; // of a file; its header alone is no sign of a disk that works

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
    for (int number = 2; QFileInfo(free).isFile(); ++number) {
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
    m_stuckFiles = 0;
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
    m_lastPath = std::exchange(m_path, path);
    m_lastEntry = std::exchange(m_entry, m_journal.begin(path));
    m_disk.watch(path);
    m_partStartedUs = m_clock.monotonicUs();
    m_grownUs = m_partStartedUs;
    m_fileBytes = -1;
    m_growths = 0;
}

/// A part that had not begun leaves nothing but an empty file behind.
void RecordingDesk::finishFile()
{
    if (m_outputs.recording().finish()) {
        if (m_entry) {
            m_entry->finished();
        }
        m_entry = std::move(m_lastEntry);
        BackgroundTask<bool>().start(
            [empty = std::exchange(m_path, m_lastPath)] { return QFile::remove(empty); });
    }
}

void RecordingDesk::finish()
{
    finishFile();
    if (std::exchange(m_isPaused, false)) {
        Q_EMIT said("Grabación terminada.");
    }
    Q_EMIT changed();
}

void RecordingDesk::pause()
{
    if (m_outputs.recording().state() == RecordingState::recording) {
        m_isPaused = true;
        finishFile();
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
    m_entry.reset();
    settleLastPart();
    m_isPaused = m_isPaused && cleanly;
    Q_EMIT changed();
}

void RecordingDesk::setPartMinutes(int minutes)
{
    m_partMinutes = minutes;
    m_partStartedUs = m_clock.monotonicUs(); // nothing is cut while the operator chooses
}

/// One whose file is not whole is mended at the next start.
void RecordingDesk::settleLastPart()
{
    const std::optional<bool> isWhole = m_outputs.recording().takePartEnd();
    if (!isWhole) {
        return;
    }
    if (!*isWhole) {
        Q_EMIT alarmed("No se pudo terminar una parte de la grabación; se reparará en el próximo "
                       "inicio.");
    } else if (m_lastEntry) {
        m_lastEntry->finished();
    }
    m_lastEntry.reset();
}

void RecordingDesk::fail(const Message &reason)
{
    m_outputs.recording().abandon();
    ended(false);
    Q_EMIT alarmed("La grabación se detuvo: " + reason);
}

void RecordingDesk::poll()
{
    settleLastPart();
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
    } else if (m_disk.isLooking() && m_outputs.recording().ready()
        && m_clock.monotonicUs() - m_grownUs >= answerUs) {
        fail("el disco no responde."); // nothing more is opened there
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
        finishFile();
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
    if (std::exchange(m_fileBytes, fileBytes) != fileBytes) {
        m_stuckFiles = ++m_growths > healthyGrowths ? 0 : m_stuckFiles;
        m_grownUs = now;
    }
    const bool isNoFile = fileBytes < 0 && m_growths == 0; // a device, of which nothing is known
    if (isNoFile || !m_outputs.recording().ready()) {
        m_grownUs = now;
    }
    if (now - m_grownUs < growthUs) {
        return;
    }
    if (++m_stuckFiles > 1) {
        fail("el disco no recibe nada más.");
    } else {
        goOnInAnotherFile();
    }
}

/// The one that is left is mended at the next start.
void RecordingDesk::goOnInAnotherFile()
{
    m_outputs.recording().abandon();
    m_entry.reset();
    try {
        open(freePath(m_firstPath));
        Q_EMIT alarmed(
            Message("El archivo de la grabación no crecía; sigue en %1", { nameOf(m_path) }));
    } catch (const std::exception &error) {
        fail(errorMessage(error));
    }
}

} // namespace nimbara
