#include "studio/sources/camera_opening.h"

#include "base/error.h"
#include "base/log.h"

#include <utility>

namespace nimbara {

CameraOpening::CameraOpening(const Clock &clock,
    CameraOpener open,
    const std::vector<DeviceMode> &modes,
    DeviceHolders before)
    : m_clock(clock)
    , m_open(std::move(open))
    , m_modes(modes.begin(), modes.end())
    , m_before(std::move(before))
    , m_begunUs(clock.monotonicUs())
{
    if (m_modes.empty()) {
        m_modes.emplace_back();
    }
    if (areGone(m_before) && openNext() == State::Failed) {
        throw Error(m_reason);
    }
}

std::optional<DeviceMode> CameraOpening::mode() const
{
    return m_next > 0 ? m_modes[m_next - 1] : std::nullopt;
}

DeviceHolders CameraOpening::holders() const
{
    DeviceHolders all = m_before;
    if (m_camera) {
        all.push_back(m_camera->presence());
    }
    return all;
}

CameraOpening::State CameraOpening::poll()
{
    if (m_camera) {
        return follow();
    }
    const std::int64_t waitedUs = m_clock.monotonicUs() - m_begunUs;
    const bool isFree = areGone(m_before) || waitedUs > patienceUs;
    if (!isFree || waitedUs < m_restUs) {
        return State::Underway;
    }
    const State state = openNext();
    if (m_camera) {
        logLine(QStringLiteral("Cámara creada: ") + m_camera->label());
    }
    return state;
}

CameraOpening::State CameraOpening::follow()
{
    m_camera->pollSource();
    if (m_camera->active() && m_camera->frameCount() > 0) {
        return State::Delivers;
    }
    // A device that has not answered yet would not answer to another mode either.
    const bool isAnswered = m_camera->startOutcome() != PipelineStart::Outcome::Underway;
    if (isAnswered && !std::exchange(m_isAnswered, true)) {
        m_begunUs = m_clock.monotonicUs(); // the time for a picture is the mode's own
    }
    const bool isSilent = isAnswered && m_clock.monotonicUs() - m_begunUs > patienceUs;
    if (!m_camera->active()) {
        m_starved = m_camera->starved();
        m_reason = m_camera->takeMessage();
        if (!m_starved) {
            return retry(); // what breaks off has answered
        }
        return isAnswered ? giveUp() : State::Failed;
    }
    return isSilent && hasNext() ? giveUp() : State::Underway;
}

/// The present mode broke off.
CameraOpening::State CameraOpening::retry()
{
    if (m_isRetried) {
        m_mayDoBetter = true;
        return giveUp();
    }
    m_isRetried = true;
    --m_next;
    leave(restUs);
    return State::Underway;
}

/// The present mode is none.
CameraOpening::State CameraOpening::giveUp()
{
    if (!hasNext()) {
        return State::Failed;
    }
    logLine(QStringLiteral("Cámara: este modo no da imagen: ") + m_camera->label());
    m_isRetried = false;
    leave(0);
    return State::Underway;
}

void CameraOpening::leave(std::int64_t pauseUs)
{
    m_before = holders();
    m_camera.reset();
    m_begunUs = m_clock.monotonicUs();
    m_restUs = pauseUs;
}

CameraOpening::State CameraOpening::openNext()
{
    while (hasNext()) {
        try {
            m_camera = m_open(m_modes[m_next++]);
            m_begunUs = m_clock.monotonicUs();
            m_isAnswered = false;
            return State::Underway;
        } catch (const Error &error) {
            m_starved = false;
            m_mayDoBetter = true;
            m_reason = error.message();
        }
    }
    return State::Failed;
}

} // namespace nimbara
