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
    ++m_stage.sent;
    const SceneSet set = m_stage.document.editing();
    std::optional<PendingTake> &take = pending(set);
    take.reset();
    try {
        take.emplace(m_factory,
            m_stage.streamFrame(),
            m_stage.frameOf(set),
            m_stage.document.project(),
            set,
            m_clock.monotonicUs());
    } catch (const Error &error) {
        m_status(error.message());
        return;
    }
    advance(take);
}

void ProgramControl::poll()
{
    for (std::optional<PendingTake> &take : m_pending) {
        advance(take);
    }
}

void ProgramControl::advance(std::optional<PendingTake> &take)
{
    try {
        if (take && take->isReady(m_clock.monotonicUs())) {
            goOnAir(*take);
            take.reset();
        }
    } catch (const Error &error) {
        take.reset();
        m_status(error.message());
    }
}

void ProgramControl::goOnAir(PendingTake &take)
{
    const QImage before = take.set() == SceneSet::Streams ? streamsOnAir() : QImage();
    LiveScene live = take.goLive(m_sources);
    if (take.set() == SceneSet::Hall) {
        m_stage.program.takeHall(live.scene);
        m_onAir.hall = std::move(live);
        m_status("Escena enviada a las pantallas de sala.");
        return;
    }
    m_stage.program.takeStreams(live.scene,
        take.title(),
        take.band(),
        before,
        m_clock.monotonicUs());
    m_onAir.streams = std::move(live);
}

void ProgramControl::offAir()
{
    ++m_stage.sent;
    callOff(m_stage.document.editing());
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

void ProgramControl::amend(const std::vector<SetVerse> &verses)
{
    m_onAir.streams.scene = amended(m_onAir.streams.scene, verses);
    m_stage.program.amendStreams(m_onAir.streams.scene);
    m_onAir.hall.scene = amended(m_onAir.hall.scene, verses);
    m_stage.program.amendHall(m_onAir.hall.scene);
    for (std::optional<PendingTake> &take : m_pending) {
        if (take) {
            take->amend(verses);
        }
    }
}

QImage ProgramControl::streamsOnAir()
{
    return m_pictures.streams(m_stage, m_onAir.streams, m_sources.cameraPicture());
}

} // namespace nimbara
