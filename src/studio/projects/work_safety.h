#pragma once

#include "base/background_task.h"
#include "studio/edit/document.h"
#include "studio/edit/recovery_copy.h"
#include "studio/projects/project_desk.h"

#include <QObject>
#include <QString>

namespace nimbara {

/// Keeps unsaved work in the data folder while there is some, and finds at start what a crash left
/// there. Interface thread only; nothing here waits.
class WorkSafety : public QObject {
    Q_OBJECT
public:
    /// `folder`: of the recovery copies; empty keeps none. All must outlive this.
    WorkSafety(const Clock &clock, Document &document, ProjectDesk &desk, const QString &folder);

    /// Begins to look for what a crash left; `found` tells.
    void lookForWork();
    /// Brings the newest find onto the desk, as unsaved work. The others stay for the next start:
    /// each would take the place of the one before.
    void recover();
    /// Removes the newest find; `found` tells of the next one.
    void discard();
    /// The work is given up: no copy of it stays.
    void giveUp();

    /// Call on every run of the frame clock.
    void poll();

Q_SIGNALS:
    /// A crash left work. `projectPath`: the operator's file, empty when there was none; `timeMs`:
    /// wall time of its last change.
    void found(const QString &projectPath, qint64 timeMs);
    /// A copy cannot be kept or read.
    void failed(const nimbara::Message &reason);

private:
    void follow();
    void offerNewest();

    Document &m_document;
    ProjectDesk &m_desk;
    QString m_folder;
    RecoveryCopy m_copy;
    BackgroundTask<RecoverySearch> m_search;
    std::vector<RecoverableWork> m_found; ///< newest first
    bool m_kept = false; ///< there may be a copy of this instance's
    bool m_quiet = false; ///< the work was given up
};

} // namespace nimbara
