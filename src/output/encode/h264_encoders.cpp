#include "output/encode/h264_encoders.h"

#include "base/log.h"
#include "output/encode/encoder_trial.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

const EncoderChoice *firstThatPasses(const std::vector<const EncoderChoice *> &choices,
    const H264Encoders::Trial &trial)
{
    const auto passes = [&](const EncoderChoice *choice) { return trial(*choice); };
    const auto found = std::find_if(choices.begin(), choices.end(), passes);
    return found == choices.end() ? nullptr : *found;
}

} // namespace

H264Encoders::H264Encoders()
    : H264Encoders([](const EncoderChoice &choice) { return passesTrial(choice); })
{
}

void H264Encoders::tryOut()
{
    std::vector<const EncoderChoice *> candidates;
    for (const EncoderChoice &choice : videoEncoders(true)) {
        if (choice.needsTrial && isAvailable(choice)) {
            candidates.push_back(&choice);
        }
    }
    if (candidates.empty() || m_hasTried || !m_isAutomatic) {
        return;
    }
    m_hasTried = true;
    m_hasChanged = true;
    m_task.start([candidates, trial = m_trial] { return firstThatPasses(candidates, trial); });
}

bool H264Encoders::poll()
{
    if (m_task.isReady()) {
        m_passed = m_task.take();
        logLine(text().spanish());
        m_hasChanged = true;
    }
    return std::exchange(m_hasChanged, false);
}

void H264Encoders::setAutomatic(bool on)
{
    m_isAutomatic = on;
    m_hasChanged = true;
    tryOut();
}

void H264Encoders::distrust(const EncoderChoice &choice)
{
    if (std::find(m_distrusted.begin(), m_distrusted.end(), &choice) == m_distrusted.end()) {
        m_distrusted.push_back(&choice);
        m_hasChanged = true;
        logLine(text().spanish());
    }
}

bool H264Encoders::isTrusted(const EncoderChoice &choice) const
{
    const bool hasFailed
        = std::find(m_distrusted.begin(), m_distrusted.end(), &choice) != m_distrusted.end();
    return !hasFailed && (!choice.needsTrial || &choice == m_passed) && isAvailable(choice);
}

const EncoderChoice &H264Encoders::choice() const
{
    const auto all = videoEncoders(true);
    const auto found = std::find_if(all.begin(), all.end(), [this](const auto &choice) {
        return m_isAutomatic && isTrusted(choice);
    });
    return found == all.end() ? all.back() : *found;
}

Message H264Encoders::text() const
{
    const EncoderChoice &used = choice();
    const QList<Message> name { Message::verbatim(QLatin1String(used.factory)) };
    if (&used != &videoEncoders(true).back()) {
        return { "Codifica el equipo: %1", name };
    }
    if (m_isAutomatic && m_task.isUnderWay()) {
        return { "Se prueba el codificador del equipo; mientras tanto, %1", name };
    }
    if (m_isAutomatic && hasFailed()) {
        return { "El codificador del equipo falló; se usa %1", name };
    }
    if (m_isAutomatic && m_hasTried) {
        return { "El codificador del equipo no pasó la prueba; se usa %1", name };
    }
    return { "Codifica el programa: %1", name };
}

} // namespace nimbara
