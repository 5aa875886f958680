#include "studio/edit/project_desk.h"

#include "base/error.h"
#include "base/i18n.h"

namespace nimbara {

namespace {

/// The scenes as a file holds them: a write that hangs keeps no picture and no pipeline alive.
std::vector<Scene> plain(std::vector<Scene> scenes)
{
    for (Scene &scene : scenes) {
        for (Layer &layer : scene.layers) {
            layer.image.reset();
            layer.source.reset();
        }
    }
    return scenes;
}

Project projectOf(const Stage &stage, std::int32_t gain)
{
    return { stage.profile,
        plain(stage.scenes.scenes(SceneSet::Streams)),
        plain(stage.scenes.scenes(SceneSet::Hall)),
        stage.scenes.currentIndex(SceneSet::Streams),
        stage.scenes.currentIndex(SceneSet::Hall),
        stage.band,
        stage.title,
        gain };
}

} // namespace

ProjectDesk::ProjectDesk(const MediaFactory &factory,
    const Outputs &outputs,
    Stage &stage,
    Sources &sources,
    Report status)
    : m_factory(factory)
    , m_outputs(outputs)
    , m_stage(stage)
    , m_sources(sources)
    , m_status(std::move(status))
    , m_opening(factory)
{
}

void ProjectDesk::requireIdleOutputs() const
{
    if (m_outputs.any()) {
        throw Error(QStringLiteral("Detén salidas antes de abrir/guardar proyecto"));
    }
}

void ProjectDesk::saveProject(const QString &path, std::int32_t gain)
{
    requireIdleOutputs();
    m_saves.save(path, projectOf(m_stage, gain));
}

void ProjectDesk::openProject(const QString &path)
{
    requireIdleOutputs();
    if (m_opening.bars() || m_saves.isSaving(path)) {
        throw Error(QStringLiteral("Espera a que termine de abrirse o guardarse el proyecto."));
    }
    m_opening.start(path, readFile);
}

void ProjectDesk::poll()
{
    for (const ProjectSaves::Done &done : m_saves.poll()) {
        if (done.failure.isEmpty()) {
            succeeded(done.path);
        } else {
            onFailed(done.failure);
        }
    }
    try {
        if (const auto opened = m_opening.poll()) {
            requireIdleOutputs(); // one may have started meanwhile
            takeOver(*opened);
        }
    } catch (const std::exception &error) {
        onFailed(errorText(error));
    }
}

void ProjectDesk::takeOver(const ProjectOpening::Opened &opened)
{
    const Project &project = opened.project;
    if (project.profile != m_stage.profile) {
        MediaPtr bars = m_factory.testBars(streamSize(project.profile)); // may throw
        m_stage.profile = project.profile;
        m_sources.setBars(std::move(bars), Sources::standIn);
    }
    ++m_stage.projects;
    m_stage.scenes.scenes(SceneSet::Streams) = project.streams;
    m_stage.scenes.scenes(SceneSet::Hall) = project.hall;
    m_stage.scenes.setCurrentIndex(SceneSet::Streams, project.currentStreams);
    m_stage.scenes.setCurrentIndex(SceneSet::Hall, project.currentHall);
    m_stage.program.clear();
    m_stage.band = project.band;
    m_stage.title = project.title;
    onOpened(project, opened.warnings);
    succeeded(opened.path);
}

void ProjectDesk::succeeded(const QString &path)
{
    m_lastPath = path;
    m_status(nimbara_i18n::tr("Proyecto guardado/abierto. Programa comienza en negro; claves no se "
                              "incluyen."));
}

} // namespace nimbara
