#pragma once

#include "base/background_task.h"
#include "studio/studio.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/outputs_tab.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

namespace nimbara {

/// The recording as the operator drives it with its buttons. Interface thread only, which never
/// waits for a disk.
class RecordingControls : public QObject {
    Q_OBJECT
public:
    /// All must outlive the controls.
    RecordingControls(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, OutputsTab &tab);

    /// Shows what the recording does now.
    void showRecording();

Q_SIGNALS:
    /// The operator started or finished a recording.
    void changed();

private:
    void toggle();
    void pauseOrResume();
    void pollName();
    void ask(const QString &offered);

    Studio &m_studio;
    Dialogs &m_dialogs;
    const ErrorGuard &m_guard;
    OutputsTab &m_tab;
    QString m_lastFolder; ///< of the recording before
    BackgroundTask<QString> m_naming; ///< finds the name that is offered
    QTimer m_look; ///< for it; the box opens then
    QDeadlineTimer m_patience;
};

} // namespace nimbara
