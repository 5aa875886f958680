#include "studio/sources/camera_opening.h"

#include "base/error.h"
#include "base/log.h"

#include <utility>

namespace nimbara {

CameraOpening::CameraOpening(const Clock &clock, CameraOpener open, std::vector<DeviceMode> modes)
    : m_clock(clock)
    , m_open(std::move(open))
    , m_modes(std::move(modes))
    , m_camera(m_open(mode()))
    , m_begunUs(clock.monotonicUs())
{
}

std::optional<DeviceMode> CameraOpening::mode() const
{
    return m_attempt < m_modes.size() ? std::optional(m_modes[m_attempt]) : std::nullopt;
}

CameraOpening::State CameraOpening::poll()
{
    if (m_camera) {
        return follow();
    }
    if (m_before.expired()) {
        return openNext();
    }
    return m_clock.monotonicUs() - m_begunUs > patienceUs ? State::Failed : State::Underway;
}

CameraOpening::State CameraOpening::follow()
{
    m_camera->pollSource();
    if (m_camera->active() && m_camera->frameCount() > 0) {
        return State::Delivers;
    }
    // A device that has not answered yet would not answer to another mode either.
    const bool isAnswered = m_camera->startOutcome() != PipelineStart::Outcome::Underway;
    const bool isSilent = isAnswered && m_clock.monotonicUs() - m_begunUs > patienceUs;
    if (!m_camera->active()) {
        m_starved = m_camera->starved();
        m_reason = m_camera->takeMessage();
        return isAnswered ? giveUp() : State::Failed;
    }
    return isSilent && hasNext() ? giveUp() : State::Underway;
}

/// The present mode is none.
CameraOpening::State CameraOpening::giveUp()
{
    if (!hasNext()) {
        return State::Failed;
    }
    logLine(QStringLiteral("Cámara: este modo no da imagen: ") + m_camera->label());
    m_before = m_camera->presence();
    m_camera.reset();
    m_begunUs = m_clock.monotonicUs();
    return State::Underway;
}

CameraOpening::State CameraOpening::openNext()
{
    while (hasNext()) {
        ++m_attempt;
        try {
            m_camera = m_open(mode());
            m_begunUs = m_clock.monotonicUs();
            logLine(QStringLiteral("Cámara: otro modo: ") + m_camera->label());
            return State::Underway;
        } catch (const Error &error) {
            m_starved = false;
            m_reason = error.message();
        }
    }
    return State::Failed;
}

} // namespace nimbara
