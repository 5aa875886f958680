#include "studio/programs/program_control.h"

#include "base/error.h"
#include "base/i18n.h"

namespace nimbara {

using nimbara_i18n::tr;

ProgramControl::ProgramControl(const Clock &clock,
    const MediaFactory &factory,
    const Sources &sources,
    Stage &stage,
    ProgramPictures &pictures,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_sources(sources)
    , m_stage(stage)
    , m_pictures(pictures)
    , m_status(std::move(status))
{
}

void ProgramControl::setEditSet(std::int32_t index)
{
    m_stage.scenes.setEditing(index == 0 ? SceneSet::Streams : SceneSet::Hall);
    m_status(tr(index == 0 ? "Editando las escenas de Redes."
                           : "Editando las escenas de las pantallas de sala."));
}

void ProgramControl::take()
{
    Scene &scene = m_stage.scenes.currentScene();
    try {
        restartFileMedia(scene);
    } catch (const Error &error) {
        m_status(tr(error.text()));
        return;
    }
    if (m_stage.scenes.editingHall()) {
        m_stage.program.takeHall(scene);
        m_status(tr("Escena enviada a las pantallas de sala."));
        return;
    }
    m_stage.program.takeStreams(scene,
        m_stage.title,
        m_stage.band,
        streamsOnAir(),
        m_clock.monotonicUs());
}

void ProgramControl::offAir()
{
    if (m_stage.scenes.editingHall()) {
        m_stage.program.offAirHall();
        m_status(tr("Pantallas de sala en negro."));
        return;
    }
    m_stage.program.offAirStreams(streamsOnAir(), m_clock.monotonicUs());
    m_status(tr("Programa en negro (fuera del aire)."));
}

void ProgramControl::restartFileMedia(Scene &scene) const
{
    for (Layer &layer : scene.layers) {
        if (layer.kind == LayerKind::Video && layer.uri.startsWith(QLatin1String("file:"))) {
            layer.source = m_factory.media(m_stage.streamFrame(), layer.uri);
        }
    }
}

QImage ProgramControl::streamsOnAir()
{
    return m_pictures.streams(m_stage, m_sources.cameraFrame());
}

} // namespace nimbara
