#include "studio/programs/program_control.h"

#include "base/error.h"

namespace nimbara {

ProgramControl::ProgramControl(const Clock &clock,
    const MediaFactory &factory,
    Sources &sources,
    Stage &stage,
    OnAir &onAir,
    ProgramPictures &pictures,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_sources(sources)
    , m_stage(stage)
    , m_onAir(onAir)
    , m_pictures(pictures)
    , m_status(std::move(status))
{
}

void ProgramControl::setEditSet(std::int32_t index)
{
    m_stage.document.setEditing(index == 0 ? SceneSet::Streams : SceneSet::Hall);
    m_status(index == 0 ? "Editando las escenas de Redes."
                        : "Editando las escenas de las pantallas de sala.");
}

void ProgramControl::take()
{
    const ScenePtr scene = m_stage.document.currentScene();
    try {
        restartFileMedia(*scene);
    } catch (const Error &error) {
        m_status(error.message());
        return;
    }
    if (m_stage.document.editingHall()) {
        m_stage.program.takeHall(scene);
        m_onAir.hall = m_sources.live(scene);
        m_status("Escena enviada a las pantallas de sala.");
        return;
    }
    const QImage before = streamsOnAir();
    m_onAir.streams = m_sources.live(scene);
    const Project &project = m_stage.document.project();
    m_stage.program.takeStreams(scene, project.title, project.band, before, m_clock.monotonicUs());
}

void ProgramControl::offAir()
{
    if (m_stage.document.editingHall()) {
        m_stage.program.offAirHall();
        m_onAir.hall = {};
        m_status("Pantallas de sala en negro.");
        return;
    }
    m_stage.program.offAirStreams(streamsOnAir(), m_clock.monotonicUs());
    m_onAir.streams = {};
    m_status("Programa en negro (fuera del aire).");
}

void ProgramControl::restartFileMedia(const Scene &scene)
{
    for (const Layer &layer : scene.layers) {
        if (layer.kind == LayerKind::Video && layer.uri.startsWith(QLatin1String("file:"))) {
            m_sources.pool().put(layer, m_factory.media(m_stage.streamFrame(), layer.uri));
        }
    }
}

QImage ProgramControl::streamsOnAir()
{
    return m_pictures.streams(m_stage, m_onAir.streams, m_sources.cameraFrame());
}

} // namespace nimbara
