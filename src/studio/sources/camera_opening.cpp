#include "studio/sources/camera_opening.h"

#include "base/error.h"
#include "base/log.h"

#include <utility>

namespace nimbara {

namespace {

/// The service, left a moment ago, may not have let go of the device yet.
bool isHeld(DeviceRoad road, const std::optional<std::int64_t> &leftUs, std::int64_t nowUs)
{
    return road == DeviceRoad::Video4Linux && leftUs && nowUs - *leftUs < CameraOpening::releaseUs;
}

} // namespace

CameraOpening::CameraOpening(const Clock &clock,
    CameraOpener open,
    const std::vector<DeviceMode> &modes,
    DeviceHolders before,
    DirectRoad direct)
    : m_clock(clock)
    , m_open(std::move(open))
    , m_modes(modes.begin(), modes.end())
    , m_mayTurn(direct == DirectRoad::WhenSilent)
    , m_before(std::move(before))
    , m_begunUs(clock.monotonicUs())
{
    if (m_modes.empty()) {
        m_modes.emplace_back();
    }
    if (direct == DirectRoad::First) {
        append(m_attempts, DeviceRoad::Video4Linux);
    }
    append(m_attempts, DeviceRoad::System);
    if (areGone(m_before) && openNext() == State::Failed) {
        throw Error(m_reason);
    }
}

void CameraOpening::append(std::vector<CameraAttempt> &attempts, DeviceRoad road) const
{
    for (const std::optional<DeviceMode> &mode : m_modes) {
        attempts.push_back({ mode, road });
    }
}

CameraAttempt CameraOpening::attempt() const
{
    return m_next > 0 ? m_attempts[m_next - 1] : CameraAttempt {};
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
    const std::int64_t silenceUs = isAnswered ? m_clock.monotonicUs() - m_begunUs : 0;
    if (!m_camera->active()) {
        m_starved = m_camera->starved();
        m_reason = m_camera->takeMessage();
        if (!m_starved) {
            return retry(); // what breaks off has answered
        }
        if (m_mayTurn) {
            return turn();
        }
        return isAnswered ? giveUp() : State::Failed;
    }
    if (m_mayTurn && silenceUs > servicePatienceUs) {
        return turn();
    }
    return silenceUs > patienceUs && hasNext() ? giveUp() : State::Underway;
}

/// The media service hands over nothing. It gets another chance behind the direct road, since the
/// first picture may only have been slow.
CameraOpening::State CameraOpening::turn()
{
    m_mayTurn = false;
    m_turnedUs = m_clock.monotonicUs();
    std::vector<CameraAttempt> direct;
    append(direct, DeviceRoad::Video4Linux);
    direct.push_back(attempt());
    m_attempts.insert(m_attempts.begin() + static_cast<std::ptrdiff_t>(m_next),
        direct.begin(),
        direct.end());
    return giveUp();
}

/// The present mode broke off.
CameraOpening::State CameraOpening::retry()
{
    if (m_isRetried && !isHeld(attempt().road, m_turnedUs, m_clock.monotonicUs())) {
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
            m_camera = m_open(m_attempts[m_next++]);
            m_begunUs = m_clock.monotonicUs();
            m_isAnswered = false;
            return State::Underway;
        } catch (const Error &error) {
            m_starved = false;
            m_mayDoBetter = true;
            m_reason = error.message();
            if (isHeld(attempt().road, m_turnedUs, m_clock.monotonicUs())) {
                return retry();
            }
        }
    }
    return State::Failed;
}

} // namespace nimbara
