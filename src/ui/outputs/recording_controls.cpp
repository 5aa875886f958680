#include "ui/outputs/recording_controls.h"

#include "base/i18n.h"

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

void RecordingControls::toggle()
{
    Recording &recording = m_studio.outputs().recording();
    if (recording.exists()) {
        recording.finish();
        Q_EMIT changed();
        return;
    }
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Grabar Programa"),
        QString(),
        nimbara_i18n::tr("WebM (*.webm)"));
    if (path.isEmpty() || recording.exists()) {
        return;
    }
    recording.start(path, m_studio.stage().streamFrame());
    Q_EMIT changed();
    m_studio.status(Recording::startedText());
}

} // namespace nimbara
