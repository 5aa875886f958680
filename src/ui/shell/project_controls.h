#pragma once

#include "studio/studio.h"
#include "ui/editor/control_row.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/audio_tab.h"
#include "ui/outputs/outputs_tab.h"
#include "ui/shell/project_row.h"

#include <QObject>

#include <functional>
#include <vector>

namespace nimbara {

/// Project files as the operator opens and saves them, and undo: asks for the file, asks what
/// becomes of work that would be lost, shows what an opened one holds and lists what it lacks.
/// Interface thread only, which never waits.
class ProjectControls : public QObject {
    Q_OBJECT
public:
    /// The controls that a project sets.
    struct Views {
        ProjectRow &project;
        ControlRow &controls;
        AudioTab &audio;
        OutputsTab &outputs;
    };

    /// All must outlive the controls.
    ProjectControls(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, Views views);

    /// Goes on with `next` when nothing would be lost: at once, when the operator discards the
    /// work, or when it is saved. Work that is on its way into a file is waited for; who asks again
    /// meanwhile is asked. Cancelling or a failed save ends it.
    void settleUnsaved(std::function<void()> next);
    /// A save is waited for.
    [[nodiscard]] bool isSettling() const { return m_next != nullptr; }

Q_SIGNALS:
    /// The save that was waited for failed: nothing goes on.
    void waitEnded();

private:
    void connectDesk();
    void waitFor(const QString &path, std::function<void()> next);
    [[nodiscard]] bool awaitsSave() const;
    void goOn();
    void open();
    void askAndOpen();
    void save();
    [[nodiscard]] QString askSavePath();
    void offerReady();
    void offerVersions(const std::vector<ProjectBackup> &backups);
    void openVersion(const QString &file);
    void offerRecovery(const QString &projectPath, qint64 timeMs);
    void follow(const Change &change);
    void showOpened(const QList<Message> &warnings);
    void lookForMissing();

    Studio &m_studio;
    Dialogs &m_dialogs;
    const ErrorGuard &m_guard;
    Views m_views;
    std::function<void()> m_next; ///< waits for a save
    QString m_awaited; ///< its file
};

} // namespace nimbara
