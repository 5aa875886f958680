#include "ui/outputs/recording_controls.h"

#include "base/i18n.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <chrono>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto lookSpacing = 10ms; ///< for the name that is offered
constexpr auto lookPatience = 2s; ///< with a disk that does not answer

QString nameOfNow()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH-mm "))
        + nimbara_i18n::tr("Servicio") + QStringLiteral(".webm");
}

/// A name that is free, by the time of day, beside the recording before. Asks the disk.
QString offeredFile(const QString &lastFolder, const QString &name)
{
    const QString films = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    const QString home = QDir(films).exists() ? films : QDir::homePath();
    return RecordingDesk::freePath(QDir(lastFolder.isEmpty() ? home : lastFolder).filePath(name));
}

} // namespace

RecordingControls::RecordingControls(Studio &studio,
    Dialogs &dialogs,
    const ErrorGuard &guard,
    OutputsTab &tab)
    : m_studio(studio)
    , m_dialogs(dialogs)
    , m_guard(guard)
    , m_tab(tab)
{
    m_look.setInterval(lookSpacing);
    connect(&m_look, &QTimer::timeout, this, &RecordingControls::pollName);
    connect(&m_tab, &OutputsTab::recordPressed, this, [this] {
        m_guard.run([this] { toggle(); });
    });
    connect(&m_tab, &OutputsTab::pausePressed, this, [this] {
        m_guard.run([this] { pauseOrResume(); });
    });
    connect(&m_tab, &OutputsTab::partMinutesChanged, this, [this](int minutes) {
        m_studio.recordings().setPartMinutes(minutes);
    });
    connect(&m_studio.recordings(), &RecordingDesk::changed, this, &RecordingControls::changed);
}

void RecordingControls::showRecording()
{
    const RecordingDesk &desk = m_studio.recordings();
    const RecordingState state = m_studio.outputs().recording().state();
    m_tab.showRecording(recordingButtonText(desk.isActive() ? RecordingState::recording : state),
        desk.isActive() && !desk.isOpening(),
        desk.isPaused());
}

void RecordingControls::pauseOrResume()
{
    if (m_studio.recordings().isPaused()) {
        m_studio.recordings().resume();
    } else {
        m_studio.recordings().pause();
    }
}

void RecordingControls::toggle()
{
    RecordingDesk &desk = m_studio.recordings();
    if (m_studio.outputs().recording().exists() || desk.isActive()) {
        desk.finish();
    } else if (!m_look.isActive()) {
        m_naming.tryStart(
            [folder = m_lastFolder, name = nameOfNow()] { return offeredFile(folder, name); });
        m_patience.setRemainingTime(lookPatience);
        m_look.start();
    }
}

/// A folder that does not answer is not offered.
void RecordingControls::pollName()
{
    const bool isReady = m_naming.isReady();
    if (m_naming.isUnderWay() && !isReady && !m_patience.hasExpired()) {
        return;
    }
    m_look.stop();
    if (!m_guard.hasBoxes()) {
        return; // the window closes
    }
    m_guard.run([&] {
        const QString name = isReady ? m_naming.take() : QDir::home().filePath(nameOfNow());
        m_naming.abandon();
        ask(name);
    });
}

void RecordingControls::ask(const QString &offered)
{
    RecordingDesk &desk = m_studio.recordings();
    const Recording &recording = m_studio.outputs().recording();
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Grabar Programa"),
        offered,
        nimbara_i18n::tr("WebM (*.webm)") + QStringLiteral(";;")
            + nimbara_i18n::tr("MKV, lo mismo que las transmisiones (*.mkv)"));
    if (path.isEmpty() || recording.exists() || desk.isActive()) {
        return;
    }
    m_lastFolder = QFileInfo(path).path();
    desk.start(path);
}

} // namespace nimbara
