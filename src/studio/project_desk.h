#pragma once

#include "media/media_factory.h"
#include "output/outputs.h"
#include "scene/project_resources.h"
#include "studio/report.h"
#include "studio/sources.h"
#include "studio/stage.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <future>

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

    /// Begins to save. `gain`: the input gain slider, 0..200 percent. Throws as above.
    void saveProject(const QString &path, std::int32_t gain);

    /// Begins to open. Throws as above.
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

private:
    struct Read {
        Project project;
        ImageLoader images;
    };

    void takeOver(Read read);
    void succeeded(const QString &path);
    template <typename Step> void guarded(Step step);

    const MediaFactory &m_factory;
    const Outputs &m_outputs;
    Stage &m_stage;
    Sources &m_sources;
    Report m_status;
    QString m_lastPath;
    QString m_pendingPath;
    std::future<void> m_saving;
    std::future<Read> m_opening;
};

} // namespace nimbara
