#include "studio/outputs/recording_desk.h"

#include "base/error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t minuteUs = 60'000'000;
constexpr std::int64_t freshUs = 2'000'000; // an answer of the disk: it opens the next part, too
constexpr std::chrono::milliseconds moment { 5 }; // in which a disk that is well names a file
constexpr int healthyGrowths = 5; // of a file; its header alone is no sign of a disk that works

Message silentDisk()
{
    return "el disco no responde.";
}

Message nameOf(const QString &path)
{
    return Message::verbatim(QFileInfo(path).fileName());
}

} // namespace

RecordingDesk::RecordingDesk(const Clock &clock,
    Outputs &outputs,
    const Stage &stage,
    const QString &journalFolder,
    DiskWatch::Look disk,
    DiskSync sync)
    : m_clock(clock)
    , m_outputs(outputs)
    , m_stage(stage)
    , m_journal(journalFolder, sync)
    , m_disk(std::move(disk), std::move(sync))
{
    // Most often the disk of the videos' folder, too, of which nobody is asked here.
    m_disk.watch(QDir::homePath() + QLatin1Char('/'));
    m_journal.mendUnfinished();
}

std::optional<std::int64_t> RecordingDesk::freeBytes() const
{
    return m_clock.monotonicUs() - m_answeredUs < answerUs ? m_freeBytes : std::nullopt;
}

QString RecordingDesk::freePath(const QString &path, const QStringList &left)
{
    const QFileInfo file(path);
    const QString stem = file.path() + QLatin1Char('/') + file.completeBaseName();
    const QString end = file.suffix().isEmpty() ? QString() : QLatin1Char('.') + file.suffix();
    QString free = path;
    for (int number = 2; left.contains(free) || QFileInfo(free).isFile(); ++number) {
        free = stem + QStringLiteral(" %1").arg(number) + end;
    }
    return free;
}

bool RecordingDesk::isOpening() const
{
    const bool isLooking
        = m_step == Step::Start || m_step == Step::Resume || m_step == Step::Beside;
    const Recording &recording = m_outputs.recording();
    return isLooking || (recording.state() == RecordingState::recording && recording.isOpening());
}

bool RecordingDesk::isWriting() const
{
    return m_outputs.recording().state() == RecordingState::recording && !isOpening();
}

bool RecordingDesk::isActive() const
{
    return m_isPaused || m_step == Step::Start || m_step == Step::Beside
        || m_outputs.recording().state() == RecordingState::recording;
}

Message RecordingDesk::lossText(const Message &reason) const
{
    const char *begin = m_begun == Step::Start ? "No se pudo iniciar la grabación: "
        : m_begun == Step::Resume              ? "La grabación sigue en pausa: "
                                               : "La grabación se detuvo: ";
    return begin + reason;
}

void RecordingDesk::start(const QString &path)
{
    m_firstPath = path;
    m_stuckFiles = 0;
    begin(Step::Start);
    Q_EMIT changed();
}

/// Throws `Error` when the disk opens nothing within the moment.
void RecordingDesk::begin(Step step)
{
    m_step = step;
    m_begun = step == Step::Part ? m_begun : step;
    m_askedUs = m_clock.monotonicUs();
    look();
    if (m_naming.isReady(moment)) {
        goOnIn(m_naming.take());
    }
}

void RecordingDesk::look()
{
    m_naming.tryStart([path = m_firstPath, left = m_left] {
        return path.isEmpty() ? path : freePath(path, left);
    });
}

void RecordingDesk::goOnIn(const QString &path)
{
    const Step step = std::exchange(m_step, Step::None);
    if (step == Step::Part) {
        openPart(path);
        return;
    }
    open(path);
    m_isPaused = false;
    tellOpened(step, path);
    Q_EMIT changed();
}

void RecordingDesk::tellOpened(Step step, const QString &path)
{
    if (step == Step::Resume) {
        Q_EMIT said(Message("Grabando en %1", { nameOf(path) }));
    } else if (step == Step::Beside) {
        Q_EMIT alarmed(
            Message("El archivo de la grabación no crecía; sigue en %1", { nameOf(path) }));
    }
}

void RecordingDesk::openPart(const QString &path)
{
    if (m_outputs.recording().canStartPart()) {
        m_outputs.recording().startPart(path);
        m_nextPath = path;
        followPart();
    }
}

/// What a disk that takes its time has come to.
void RecordingDesk::pollStep()
{
    if (m_step == Step::None) {
        return;
    }
    if (m_clock.monotonicUs() - m_askedUs >= answerUs) {
        refuse(silentDisk());
    } else if (!m_naming.isUnderWay()) {
        look(); // no thread was to be had
    } else if (m_naming.isReady()) {
        const Step step = m_step;
        try {
            goOnIn(m_naming.take());
        } catch (const std::exception &error) {
            m_step = step;
            refuse(errorMessage(error));
        }
    }
}

void RecordingDesk::refuse(const Message &reason)
{
    m_naming.abandon();
    const Step step = std::exchange(m_step, Step::None);
    if (step == Step::Part) {
        refusePart(reason);
        return;
    }
    if (step == Step::Beside) {
        ended(false);
    }
    Q_EMIT alarmed(lossText(reason));
    Q_EMIT changed();
}

/// The next file is not wanted any more.
void RecordingDesk::callOff()
{
    m_naming.abandon();
    m_step = Step::None;
    m_wantsMore = false;
    callOffPart();
}

/// One that has begun meanwhile is the present one.
void RecordingDesk::callOffPart()
{
    if (m_step == Step::Part) {
        m_naming.abandon();
        m_step = Step::None;
    }
    if (m_nextPath.isEmpty()) {
        return;
    }
    const QString next = std::exchange(m_nextPath, {});
    const std::optional<bool> hasBegun = m_outputs.recording().takePartStart();
    if (hasBegun == true) {
        follow(next);
    } else if (!hasBegun) {
        m_outputs.recording().callOffPart();
        leaveBehind(next);
    }
}

/// What was never written to goes. A disk that answers late opens and deletes it whenever it likes:
/// its name is not taken again.
void RecordingDesk::leaveBehind(const QString &path)
{
    m_left.append(path);
    BackgroundTask<bool>().tryStart([path] { return QFile::remove(path); });
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
    m_answeredUs = m_partStartedUs;
    m_fileBytes = -1;
    m_growths = 0;
    m_takenUs = m_partStartedUs;
    m_toldLateDisk = false;
}

/// A part that had not begun leaves nothing but an empty file behind.
void RecordingDesk::finishFile()
{
    callOff();
    m_begun = Step::None;
    m_grownUs = m_clock.monotonicUs();
    if (m_outputs.recording().finish()) {
        if (m_entry) {
            m_entry->finished();
        }
        m_entry = std::move(m_lastEntry);
        leaveBehind(std::exchange(m_path, m_lastPath));
        m_disk.watch(m_path);
        m_fileBytes = -1;
    }
}

void RecordingDesk::finish()
{
    const bool wasPaused = isPaused();
    finishFile();
    m_isPaused = false;
    if (wasPaused) {
        Q_EMIT said("Grabación terminada.");
    }
    Q_EMIT changed();
}

void RecordingDesk::pause()
{
    if (m_outputs.recording().state() == RecordingState::recording) {
        finishFile();
        m_isPaused = true;
        Q_EMIT said("Grabación en pausa.");
        Q_EMIT changed();
    }
}

void RecordingDesk::resume()
{
    if (!m_isPaused || m_step != Step::None) {
        return;
    }
    if (m_outputs.recording().exists()) {
        m_wantsMore = true;
        Q_EMIT said("La grabación sigue en cuanto se guarde la parte anterior.");
    } else {
        begin(Step::Resume);
    }
}

void RecordingDesk::ended(bool cleanly)
{
    callOffPart();
    m_grownUs = m_clock.monotonicUs();
    // The part before may still be on its way.
    if (m_outputs.recording().exists()) {
        m_disk.watch(m_lastPath);
    }
    if (m_entry && cleanly) {
        m_entry->finished();
    }
    m_entry.reset();
    settleLastPart();
    m_isPaused = (m_isPaused && cleanly) || m_begun == Step::Resume;
    m_wantsMore = m_wantsMore && cleanly;
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
    callOff();
    if (m_outputs.recording().isOpening()) {
        m_left.append(m_path);
    }
    m_outputs.recording().abandon();
    ended(false);
    Q_EMIT alarmed(lossText(reason));
}

void RecordingDesk::poll()
{
    settleLastPart();
    for (const Message &text : m_journal.poll()) {
        Q_EMIT said(text);
    }
    pollStep();
    noteTaken();
    if (m_outputs.recording().state() != RecordingState::recording) {
        pollEnd();
        return;
    }
    m_begun = isWriting() ? Step::None : m_begun;
    followPart();
    tellLateDisk();
    if (const auto sample = m_disk.poll(m_clock.monotonicUs())) {
        m_answeredUs = m_clock.monotonicUs();
        judge(*sample);
    } else if (isOpenedTooLate()) {
        fail(silentDisk()); // nothing more is opened there
    } else if (isHung()) {
        leaveStuckFile(silentDisk());
    } else if (isPartDue()) {
        try {
            begin(Step::Part);
        } catch (const std::exception &error) {
            refusePart(errorMessage(error));
        }
    }
}

/// A file that is being finished may hang as well.
void RecordingDesk::pollEnd()
{
    const std::int64_t now = m_clock.monotonicUs();
    if (m_outputs.recording().exists()) {
        const auto sample = m_disk.poll(now);
        if (sample && std::exchange(m_fileBytes, sample->fileBytes) != sample->fileBytes) {
            m_grownUs = now;
        }
        if (now - std::max(m_grownUs, m_takenUs) >= answerUs) {
            fail(silentDisk());
        }
    } else if (std::exchange(m_wantsMore, false)) {
        try {
            begin(Step::Resume);
        } catch (const std::exception &error) {
            m_step = Step::Resume;
            refuse(errorMessage(error));
        }
    } else {
        pollRoom();
    }
}

/// For the next file; nothing is written meanwhile.
void RecordingDesk::pollRoom()
{
    m_disk.rest();
    if (const auto sample = m_disk.poll(m_clock.monotonicUs())) {
        m_answeredUs = m_clock.monotonicUs();
        noteRoom(*sample);
    }
}

/// A disk that takes what is written is at work, however late it answers.
void RecordingDesk::noteTaken()
{
    const Recording &recording = m_outputs.recording();
    const std::uint64_t taken = recording.figures().value_or(OutletFigures {}).bytes;
    const bool isEarly = recording.state() == RecordingState::recording && !recording.ready();
    if (std::exchange(m_takenBytes, taken) != taken || isEarly) {
        m_takenUs = m_clock.monotonicUs();
    }
}

/// The recording is not lost, but not safe either.
void RecordingDesk::tellLateDisk()
{
    const std::int64_t now = m_clock.monotonicUs();
    const std::int64_t late = std::max(now - m_answeredUs, m_disk.syncingUs(now));
    if (m_outputs.recording().ready() && late >= answerUs && !std::exchange(m_toldLateDisk, true)) {
        Q_EMIT alarmed("El disco de la grabación responde muy tarde; la grabación sigue.");
    }
}

/// The first answers come before the file is open.
bool RecordingDesk::isOpenedTooLate() const
{
    return m_outputs.recording().isOpening() && m_clock.monotonicUs() - m_partStartedUs >= answerUs;
}

/// It neither answers nor takes anything.
bool RecordingDesk::isHung() const
{
    return m_disk.isLooking() && m_outputs.recording().ready()
        && m_clock.monotonicUs() - std::max(m_answeredUs, m_takenUs) >= growthUs;
}

bool RecordingDesk::isPartDue() const
{
    const std::int64_t now = m_clock.monotonicUs();
    return m_partMinutes > 0 && m_step == Step::None && m_outputs.recording().canStartPart()
        && now - m_partStartedUs >= m_partMinutes * minuteUs && now - m_answeredUs < freshUs;
}

void RecordingDesk::followPart()
{
    if (m_nextPath.isEmpty()) {
        return;
    }
    const std::optional<bool> hasBegun = m_outputs.recording().takePartStart();
    if (hasBegun == true) {
        follow(std::exchange(m_nextPath, {}));
        Q_EMIT said(Message("Grabando en %1", { nameOf(m_path) }));
    } else if (hasBegun == false) {
        m_nextPath.clear();
        refusePart("No se pudo iniciar salida");
    } else if (m_clock.monotonicUs() - m_askedUs >= answerUs) {
        callOffPart();
        refusePart(silentDisk());
    }
}

/// It is tried again when the next one is due.
void RecordingDesk::refusePart(const Message &reason)
{
    m_partStartedUs = m_clock.monotonicUs();
    Q_EMIT alarmed("La grabación sigue en el mismo archivo: " + reason);
}

void RecordingDesk::noteRoom(const DiskWatch::Sample &sample)
{
    m_freeBytes.reset();
    if (sample.freeBytes >= 0) {
        m_freeBytes = sample.freeBytes;
    }
}

void RecordingDesk::judge(const DiskWatch::Sample &sample)
{
    noteRoom(sample);
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
    if (now - m_grownUs >= growthUs) {
        leaveStuckFile("el disco no recibe nada más.");
    }
}

/// One more that gets stuck ends the recording.
void RecordingDesk::leaveStuckFile(const Message &reason)
{
    if (++m_stuckFiles > 1) {
        fail(reason);
    } else {
        goOnInAnotherFile();
    }
}

/// The one that is left is mended at the next start.
void RecordingDesk::goOnInAnotherFile()
{
    callOff();
    m_outputs.recording().abandon();
    m_entry.reset();
    try {
        begin(Step::Beside);
    } catch (const std::exception &error) {
        fail(errorMessage(error));
        return;
    }
    if (m_step == Step::Beside) {
        Q_EMIT alarmed("El archivo de la grabación no crece; se busca otro a su lado.");
        Q_EMIT changed();
    }
}

} // namespace nimbara
