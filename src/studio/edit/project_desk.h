#pragma once

#include "media/sources/media_factory.h"
#include "output/sink/outputs.h"
#include "studio/edit/project_opening.h"
#include "studio/edit/project_saves.h"
#include "studio/edit/stage.h"
#include "studio/report.h"
#include "studio/sources/sources.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace nimbara {

/// Saves the stage into a project file and opens one in its place. Files are read, decoded and
/// written on a background task while the programs go on; `poll` brings the result. Interface
/// thread only.
class ProjectDesk {
public:
    ProjectDesk(const MediaFactory &factory,
        const Outputs &outputs,
        Stage &stage,
        Sources &sources,
        Report status);

    /// Throws `Error` "Detén salidas antes de abrir/guardar proyecto" while an output runs. To be
    /// asked before the operator is.
    void requireIdleOutputs() const;

    /// Begins to save the stage as it is now, whatever else is under way. `gain`: the input gain
    /// slider, 0..200 percent. Throws as above.
    void saveProject(const QString &path, std::int32_t gain);

    /// Begins to open. Throws as above, and `Error` "Espera a que termine de abrirse o guardarse el
    /// proyecto." while another project is being opened or this one is being saved.
    void openProject(const QString &path);

    /// Takes over what a background task has finished. Call on every run of the frame clock.
    void poll();

    /// The file last saved or opened; empty before.
    [[nodiscard]] const QString &lastPath() const { return m_lastPath; }

    /// The stage holds another project. `warnings`: what could not be opened, for the operator.
    std::function<void(const Project &project, const QStringList &warnings)> onOpened
        = [](const Project &, const QStringList &) {};
    /// Saving or opening failed and nothing changed; the operator's text, untranslated.
    std::function<void(const QString &text)> onFailed = [](const QString &) {};

    /// Reads a project file, on a background task; another reader plays a disk that hangs.
    ProjectOpening::FileReader readFile = readProjectFile;

private:
    void takeOver(const ProjectOpening::Opened &opened);
    void succeeded(const QString &path);

    const MediaFactory &m_factory;
    const Outputs &m_outputs;
    Stage &m_stage;
    Sources &m_sources;
    Report m_status;
    QString m_lastPath;
    ProjectSaves m_saves;
    ProjectOpening m_opening;
};

} // namespace nimbara
