#pragma once

#include "studio/studio.h"
#include "ui/editor/control_row.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/audio_tab.h"
#include "ui/shell/project_row.h"

#include <QObject>
#include <QStringList>

namespace nimbara {

/// Project files as the operator opens and saves them: asks for the file, shows what an opened one
/// holds and lists what it lacks. Interface thread only, which never waits.
class ProjectControls : public QObject {
    Q_OBJECT
public:
    /// The controls that a project sets.
    struct Views {
        ProjectRow &project;
        ControlRow &controls;
        AudioTab &audio;
    };

    /// All must outlive the controls.
    ProjectControls(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, Views views);

Q_SIGNALS:
    /// Another project stands on the desk and its controls show it; its scenes are yet to be shown.
    void opened();

private:
    void open();
    void save();
    void show(const Project &project, const QStringList &warnings);

    Studio &m_studio;
    Dialogs &m_dialogs;
    const ErrorGuard &m_guard;
    Views m_views;
};

} // namespace nimbara
