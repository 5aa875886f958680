#include "studio/project_desk.h"

#include "app/error.h"
#include "app/i18n.h"
#include "compositor/load_image.h"
#include "studio/profile_change.h"

#include <chrono>

namespace nimbara {

namespace {

template <typename Result> bool isReady(const std::future<Result> &task)
{
    return task.valid() && task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

Project projectOf(const Stage &stage, std::int32_t gain)
{
    return { stage.profile,
        stage.scenes.scenes(SceneSet::Streams),
        stage.scenes.scenes(SceneSet::Hall),
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
    if (m_saving.valid() || m_opening.valid()) {
        return;
    }
    m_pendingPath = path;
    m_saving = std::async(std::launch::async,
        [path, json = toJson(projectOf(m_stage, gain))] { writeProjectFile(path, json); });
}

void ProjectDesk::openProject(const QString &path)
{
    requireIdleOutputs();
    if (m_saving.valid() || m_opening.valid()) {
        return;
    }
    m_pendingPath = path;
    m_opening = std::async(std::launch::async, [path] {
        Project project = fromJson(readProjectFile(path));
        ImageLoader images = decodeImages(project, loadImage);
        return Read { std::move(project), std::move(images) };
    });
}

template <typename Step> void ProjectDesk::guarded(Step step)
{
    try {
        step();
    } catch (const std::exception &error) {
        onFailed(errorText(error));
    }
}

void ProjectDesk::poll()
{
    if (isReady(m_saving)) {
        guarded([this] {
            m_saving.get();
            succeeded(m_pendingPath);
        });
    }
    if (isReady(m_opening)) {
        guarded([this] {
            Read read = m_opening.get();
            requireIdleOutputs(); // one may have started meanwhile
            takeOver(std::move(read));
        });
    }
}

void ProjectDesk::takeOver(Read read)
{
    Project &project = read.project;
    if (project.profile != m_stage.profile) {
        m_stage.profile = project.profile;
        m_sources.setBars(m_factory.testBars(m_stage.streamFrame()), Sources::standIn);
    }
    const QStringList warnings = attachResources(project,
        { read.images,
            [this](const QString &location) {
                return m_factory.media(m_stage.streamFrame(), location);
            },
            [this] { return m_factory.screen(m_stage.streamFrame()); } });
    m_stage.scenes.scenes(SceneSet::Streams) = project.streams;
    m_stage.scenes.scenes(SceneSet::Hall) = project.hall;
    m_stage.scenes.setCurrentIndex(SceneSet::Streams, project.currentStreams);
    m_stage.scenes.setCurrentIndex(SceneSet::Hall, project.currentHall);
    m_stage.program.clear();
    m_stage.band = project.band;
    m_stage.title = project.title;
    onOpened(project, warnings);
    succeeded(m_pendingPath);
}

void ProjectDesk::succeeded(const QString &path)
{
    m_lastPath = path;
    m_status(nimbara_i18n::tr("Proyecto guardado/abierto. Programa comienza en negro; claves no se "
                              "incluyen."));
}

} // namespace nimbara
