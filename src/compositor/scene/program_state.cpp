#include "compositor/scene/program_state.h"

#include <utility>

namespace nimbara {

void ProgramState::takeStreams(ScenePtr scene,
    QString title,
    bool band,
    const Transition &transition,
    std::int64_t nowUs,
    PlayingClip clip)
{
    m_streams = std::move(scene);
    m_leftTitle = std::exchange(m_title, std::move(title));
    m_leftBand = std::exchange(m_band, band);
    m_changes[0].start(m_fadeEnabled ? transition : plainCut, nowUs, std::move(clip));
}

void ProgramState::offAirStreams(const Transition &transition, std::int64_t nowUs)
{
    takeStreams({}, {}, false, transition, nowUs);
}

void ProgramState::takeHall(ScenePtr scene,
    const Transition &transition,
    std::int64_t nowUs,
    PlayingClip clip)
{
    m_hall = std::move(scene);
    m_changes[1].start(m_fadeEnabled ? transition : plainCut, nowUs, std::move(clip));
}

void ProgramState::clear()
{
    clearStreams();
    m_hall = {};
    m_changes[1].reset();
}

void ProgramState::clearStreams()
{
    m_streams = {};
    m_title.clear();
    m_band = false;
    m_changes[0].reset();
}

} // namespace nimbara
