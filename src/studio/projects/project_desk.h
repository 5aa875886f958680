#pragma once

#include "base/report.h"
#include "media/sources/media_factory.h"
#include "studio/edit/media_search.h"
#include "studio/edit/project_backups.h"
#include "studio/edit/project_saves.h"
#include "studio/edit/stage.h"
#include "studio/projects/project_opening.h"
#include "studio/sources/on_air.h"
#include "studio/sources/sources.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace nimbara {

/// Saves the project into a file and opens one in its place. Files are read, decoded and written on
/// a background task while the programs go on; `poll` brings the result. Interface thread only.
///
/// A project that took long to open does not take over by itself once the operator has edited or
/// taken something meanwhile: it is ready, and waits for `takeOverOpened`.
class ProjectDesk : public QObject {
    Q_OBJECT
public:
    /// `hasOutputs`: an output runs, or is to come back.
    ProjectDesk(const MediaFactory &factory,
        std::function<bool()> hasOutputs,
        Stage &stage,
        OnAir &onAir,
        Sources &sources,
        Report status,
        const QString &backupFolder = {});

    /// Throws `Error` "Detén salidas antes de abrir/guardar proyecto" while an output runs. To be
    /// asked before the operator is.
    void requireIdleOutputs() const;

    /// Begins to save the project as it is now, whatever else is under way. Throws as above.
    void saveProject(const QString &path);
    /// The same before the program ends, whether or not an output runs.
    void saveAtClosing(const QString &path);

    /// The file is being written, or will be.
    [[nodiscard]] bool isSaving(const QString &path) const { return m_saves.isSaving(path); }
    /// So is any file.
    [[nodiscard]] bool isSaving() const { return m_saves.isSaving(); }
    /// The file into which the project as it is now is on its way; empty: none.
    [[nodiscard]] QString savingPath() const { return m_saves.placeOf(m_stage.document.project()); }

    /// Begins to open. Throws as above, and `Error` "Espera a que termine de abrirse o guardarse el
    /// proyecto." while another project is being opened or this one is being saved.
    void openProject(const QString &path);
    /// Begins to open work that a crash left, which `read` gives; it will be unsaved work of the
    /// file `path`, or of none. `taken`: called when it stands on the desk; never when it fails, is
    /// called off, or another opening begins first.
    void recoverProject(const QString &path,
        const ProjectOpening::FileReader &read,
        std::function<void()> taken = {});
    /// Looks in the background for what earlier saves of the last project replaced
    /// (`backupsFound`).
    void lookForBackups();
    /// Begins to open such a version, as unsaved work of the project. Throws as `openProject`.
    void openBackup(const QString &file);
    [[nodiscard]] bool isOpening() const { return m_opening.isUnderWay() || m_ready; }
    /// Lets go of the project that is being opened, or waits to take over.
    void cancelOpening();
    /// The project that is ready takes over. Throws `Error` as `requireIdleOutputs`.
    void takeOverOpened();

    /// Takes over what a background task has finished. Call on every run of the frame clock.
    void poll();
    /// The same for the saves alone: before the program ends.
    void pollSaves();

    /// The file last saved or opened; empty before.
    [[nodiscard]] const QString &lastPath() const { return m_lastPath; }

    /// Files that the opened project names and that are not there.
    [[nodiscard]] MediaSearch &mediaSearch() { return m_mediaSearch; }

    /// Reads a project file, on a background task; another reader plays a disk that hangs.
    ProjectOpening::FileReader readFile = readProjectFile;

Q_SIGNALS:
    /// Opening began or is over, however it went.
    void openingChanged(bool opening);
    /// A project is ready, but what stands on the desk has changed since it was asked for.
    void ready();
    /// The desk holds another project. `warnings`: what could not be opened, for the operator.
    void opened(const QList<nimbara::Message> &warnings);
    /// The same for work that a crash left.
    void recovered(const QString &path);
    void saved(const QString &path);
    /// Newest first; none when the project was never saved twice.
    void backupsFound(const std::vector<nimbara::ProjectBackup> &backups);
    /// Saving or opening failed and nothing changed. `path`: the file that is not saved; empty when
    /// none was to be.
    void failed(const nimbara::Message &reason, const QString &path);

private:
    /// What the desk looked like when a project was asked for.
    struct Before {
        Project project;
        std::uint64_t sent = 0; ///< to the programs
        bool operator==(const Before &) const = default;
    };
    [[nodiscard]] Before now() const;
    void pollOpening();
    void takeOver(const ProjectOpening::Opened &opened);
    void tellOpening();
    void succeeded(const QString &path);

    const MediaFactory &m_factory;
    std::function<bool()> m_hasOutputs;
    Stage &m_stage;
    OnAir &m_onAir;
    Sources &m_sources;
    Report m_status;
    QString m_backupFolder;
    BackgroundTask<std::vector<ProjectBackup>> m_backups;
    QString m_lastPath;
    ProjectSaves m_saves;
    ProjectOpening m_opening;
    MediaSearch m_mediaSearch;
    std::optional<ProjectOpening::Opened> m_ready;
    Before m_before;
    bool m_toldOpening = false;
    bool m_isRecovery = false; ///< what is being opened
    std::function<void()> m_taken; ///< waits for it
};

} // namespace nimbara
