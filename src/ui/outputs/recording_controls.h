#pragma once

#include "studio/studio.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/outputs_tab.h"

#include <QObject>

namespace nimbara {

/// The recording as the operator drives it with its buttons. Interface thread only.
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
    [[nodiscard]] QString offeredFile() const;

    Studio &m_studio;
    Dialogs &m_dialogs;
    OutputsTab &m_tab;
    QString m_lastFolder; ///< of the recording before
};

} // namespace nimbara
