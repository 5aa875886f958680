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
}

void RecordingControls::showRecording()
{
    m_tab.showRecording(recordingButtonText(m_studio.outputs().recording().state()));
}

/// A name that is free, by the time of day, beside the recording before.
QString RecordingControls::offeredFile() const
{
    const QString films = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    const QString home = QDir(films).exists() ? films : QDir::homePath();
    const QDir folder(m_lastFolder.isEmpty() ? home : m_lastFolder);
    const QString stem = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH-mm "))
        + nimbara_i18n::tr("Servicio");
    const auto named
        = [&](const QString &name) { return folder.filePath(name + QStringLiteral(".webm")); };
    QString path = named(stem);
    for (int number = 2; QFileInfo::exists(path); ++number) {
        path = named(QStringLiteral("%1 %2").arg(stem).arg(number));
    }
    return path;
}

void RecordingControls::toggle()
{
    Recording &recording = m_studio.outputs().recording();
    if (recording.exists()) {
        recording.finish();
        Q_EMIT changed();
        return;
    }
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Grabar Programa"),
        offeredFile(),
        nimbara_i18n::tr("WebM (*.webm)") + QStringLiteral(";;")
            + nimbara_i18n::tr("MKV, lo mismo que las transmisiones (*.mkv)"));
    if (path.isEmpty() || recording.exists()) {
        return;
    }
    m_lastFolder = QFileInfo(path).path();
    recording.start(path, m_studio.stage().streamFrame());
    Q_EMIT changed();
    m_studio.status(Recording::startedText());
}

} // namespace nimbara
