#include "studio/outputs/recording_desk.h"

#include "base/error.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t minuteUs = 60'000'000;
constexpr std::chrono::milliseconds moment { 5 }; // in which a disk that is well names a file

Message silentDisk()
{
    return "el disco no responde.";
}

/// As long as it is so.
Message anotherIsLookedFor()
{
    return "El archivo de la grabación no crece; se busca otro a su lado.";
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
    , m_disk(clock, outputs.recording(), std::move(disk), std::move(sync))
{
    m_journal.mendUnfinished();
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
    if ((step == Step::Start || step == Step::Resume) && isOpening()) {
        Q_EMIT said("Preparando la grabación: empieza cuando el disco abra su archivo.");
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
    pollOpened();
    Q_EMIT changed();
}

void RecordingDesk::pollOpened()
{
    if (m_begun != Step::None && isWriting()) {
        tellOpened(std::exchange(m_begun, Step::None));
    }
}

void RecordingDesk::tellOpened(Step step)
{
    if (step == Step::Start) {
        Q_EMIT said(Recording::startedText());
    } else if (step == Step::Resume) {
        Q_EMIT said(Message("Grabando en %1", { nameOf(m_path) }));
    } else if (step == Step::Beside) {
        Q_EMIT settled(anotherIsLookedFor());
        Q_EMIT alarmed(
            Message("El archivo de la grabación no crecía; sigue en %1", { nameOf(m_path) }));
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
    if (m_clock.monotonicUs() - m_askedUs >= RecordingDisk::answerUs) {
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
    Q_EMIT settled(anotherIsLookedFor());
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
    m_disk.begin(path);
    m_partStartedUs = m_clock.monotonicUs();
}

/// A part that had not begun leaves nothing but an empty file behind.
void RecordingDesk::finishFile()
{
    callOff();
    m_begun = Step::None;
    m_disk.awaitEnd();
    if (m_outputs.recording().finish()) {
        if (m_entry) {
            m_entry->finished();
        }
        m_entry = std::move(m_lastEntry);
        leaveBehind(std::exchange(m_path, m_lastPath));
        m_disk.awaitEnd(m_path);
    }
}

void RecordingDesk::finish()
{
    const auto wasAt = [this](Step step) { return m_step == step || m_begun == step; };
    std::optional<Message> told;
    if (m_isPaused || wasAt(Step::Beside)) {
        told = "Grabación terminada.";
    } else if (wasAt(Step::Start)) { // a file of that name was not opened yet
        told = "Grabación detenida antes de empezar.";
    }
    finishFile();
    m_isPaused = false;
    if (told) {
        Q_EMIT said(*told);
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
    Q_EMIT settled(anotherIsLookedFor());
    // The part before may still be on its way.
    if (m_outputs.recording().exists()) {
        m_disk.awaitEnd(m_lastPath);
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
    m_disk.noteTaken();
    if (m_outputs.recording().state() != RecordingState::recording) {
        pollEnd();
        return;
    }
    pollOpened();
    followPart();
    if (m_disk.turnsLate()) {
        Q_EMIT alarmed("El disco de la grabación responde muy tarde; la grabación sigue.");
    }
    pollDisk();
}

void RecordingDesk::pollDisk()
{
    const RecordingDisk::Trouble trouble = m_disk.look();
    m_stuckFiles = m_disk.hasGrown() ? 0 : m_stuckFiles;
    switch (trouble) {
    case RecordingDisk::Trouble::None:
        startDuePart();
        break;
    case RecordingDisk::Trouble::Full:
        closeOnFullDisk();
        break;
    case RecordingDisk::Trouble::Unopened:
        fail(silentDisk()); // nothing more is opened there
        break;
    case RecordingDisk::Trouble::Hung:
        leaveStuckFile(silentDisk());
        break;
    case RecordingDisk::Trouble::Stuck:
        leaveStuckFile("el disco no recibe nada más.");
        break;
    }
}

/// A file that is being finished may hang as well.
void RecordingDesk::pollEnd()
{
    if (m_outputs.recording().exists()) {
        if (m_disk.hangsAtEnd()) {
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
        m_disk.lookAtRoom(); // for the next file
    }
}

bool RecordingDesk::isPartDue() const
{
    return m_partMinutes > 0 && m_step == Step::None && m_outputs.recording().canStartPart()
        && m_clock.monotonicUs() - m_partStartedUs >= m_partMinutes * minuteUs && m_disk.isAtHand();
}

void RecordingDesk::startDuePart()
{
    if (!isPartDue()) {
        return;
    }
    try {
        begin(Step::Part);
    } catch (const std::exception &error) {
        refusePart(errorMessage(error));
    }
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
    } else if (m_clock.monotonicUs() - m_askedUs >= RecordingDisk::answerUs) {
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

void RecordingDesk::closeOnFullDisk()
{
    finishFile();
    Q_EMIT alarmed("Quedan menos de 500 MB en el disco: la grabación se cerró. Las "
                   "transmisiones siguen.");
    Q_EMIT changed();
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
    if (isOpening()) {
        Q_EMIT alarmed(anotherIsLookedFor());
        Q_EMIT changed();
    }
}

} // namespace nimbara
