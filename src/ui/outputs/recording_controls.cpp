#include "ui/outputs/recording_controls.h"

#include "base/i18n.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace nimbara {

RecordingControls::RecordingControls(Studio &studio,
    Dialogs &dialogs,
    const ErrorGuard &guard,
    OutputsTab &tab)
    : m_studio(studio)
    , m_dialogs(dialogs)
    , m_tab(tab)
{
    connect(&m_tab, &OutputsTab::recordPressed, this, [this, &guard] {
        guard.run([this] { toggle(); });
    });
    connect(&m_tab, &OutputsTab::pausePressed, this, [this, &guard] {
        guard.run([this] { pauseOrResume(); });
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
    m_tab.showRecording(recordingButtonText(desk.isPaused() ? RecordingState::recording : state),
        desk.isActive(),
        desk.isPaused());
}

/// A name that is free, by the time of day, beside the recording before.
QString RecordingControls::offeredFile() const
{
    const QString films = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    const QString home = QDir(films).exists() ? films : QDir::homePath();
    const QDir folder(m_lastFolder.isEmpty() ? home : m_lastFolder);
    const QString stem = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH-mm "))
        + nimbara_i18n::tr("Servicio");
    return RecordingDesk::freePath(folder.filePath(stem + QStringLiteral(".webm")));
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
    const Recording &recording = m_studio.outputs().recording();
    if (recording.exists() || desk.isPaused()) {
        desk.finish();
        return;
    }
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Grabar Programa"),
        offeredFile(),
        nimbara_i18n::tr("WebM (*.webm)") + QStringLiteral(";;")
            + nimbara_i18n::tr("MKV, lo mismo que las transmisiones (*.mkv)"));
    if (path.isEmpty() || recording.exists() || desk.isPaused()) {
        return;
    }
    m_lastFolder = QFileInfo(path).path();
    desk.start(path);
    m_studio.status(Recording::startedText());
}

} // namespace nimbara
