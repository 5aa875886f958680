#include "studio/programs/program_control.h"

#include "base/error.h"

#include <utility>

namespace nimbara {

ProgramControl::ProgramControl(const Clock &clock,
    const MediaFactory &factory,
    Sources &sources,
    Stage &stage,
    OnAir &onAir,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_sources(sources)
    , m_stage(stage)
    , m_onAir(onAir)
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
    const Project &project = m_stage.document.project();
    const SceneSet set = m_stage.document.editing();
    const Transition transition = m_stage.program.fadeEnabled()
        ? transitionTo(project, set, *m_stage.document.currentScene())
        : plainCut;
    std::optional<PendingTake> &take = pending(set);
    take.reset();
    try {
        take.emplace(m_factory,
            m_stage.streamFrame(),
            m_stage.frameOf(set),
            project,
            set,
            transition,
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
    for (const std::weak_ptr<Media> &playing : m_clips) {
        if (const MediaPtr clip = playing.lock()) {
            clip->pollSource();
        }
    }
}

void ProgramControl::advance(std::optional<PendingTake> &take)
{
    try {
        if (take && take->isReady(m_clock.monotonicUs(), m_sources.shelf())) {
            goOnAir(*take);
            take.reset();
        }
    } catch (const Error &error) {
        take.reset();
        m_status(error.message());
    }
}

/// Lives as long as the transition.
PlayingClip ProgramControl::playClip(PendingTake &take)
{
    const MediaPtr clip = take.playClip();
    if (!clip) {
        return {};
    }
    m_clips[take.set() == SceneSet::Hall ? 1 : 0] = clip;
    return { [clip] { return clip->frame(); },
        [clip] { return !clip->active(); },
        std::int64_t { take.clip().cutMs } * 1000 };
}

void ProgramControl::goOnAir(PendingTake &take)
{
    const std::int64_t now = m_clock.monotonicUs();
    const bool wasChanging = m_stage.program.isChanging(take.set());
    LiveScene live = take.goLive(m_sources);
    PlayingClip clip = playClip(take);
    if (take.set() == SceneSet::Hall) {
        m_stage.program.takeHall(live.scene, take.transition(), now, std::move(clip));
        m_status("Escena enviada a las pantallas de sala.");
    } else {
        m_stage.program.takeStreams(live.scene,
            take.title(),
            take.band(),
            take.transition(),
            now,
            std::move(clip));
    }
    replace(take.set(), std::move(live), wasChanging);
    if (take.isWithoutClip()) {
        m_status("El clip de la transición no se puede reproducir; la escena entró por corte.");
    }
}

void ProgramControl::offAir()
{
    ++m_stage.sent;
    const SceneSet set = m_stage.document.editing();
    callOff(set);
    const std::int64_t now = m_clock.monotonicUs();
    const bool wasChanging = m_stage.program.isChanging(set);
    const Transition transition = transitionToBlack(m_stage.document.project(), set);
    if (set == SceneSet::Hall) {
        m_stage.program.takeHall({}, transition, now);
        m_status("Pantallas de sala en negro.");
    } else {
        m_stage.program.offAirStreams(transition, now);
        m_status("Programa en negro (fuera del aire).");
    }
    replace(set, {}, wasChanging);
}

/// The scene before moves on while a transition from it runs. One that sets out in the middle of
/// another comes from a mixture, which stands still.
void ProgramControl::replace(SceneSet set, LiveScene live, bool wasChanging)
{
    LiveScene &program = set == SceneSet::Hall ? m_onAir.hall : m_onAir.streams;
    LiveScene before = std::exchange(program, std::move(live));
    const bool movesOn = !wasChanging && m_stage.program.isChanging(set);
    m_onAir.leftOf(set) = movesOn ? std::move(before) : LiveScene {};
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

} // namespace nimbara
