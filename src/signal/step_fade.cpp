#include "signal/step_fade.h"

namespace nimbara {

void StepFade::start(const StereoValue &before, const StereoValue &after)
{
    for (std::size_t channel = 0; channel < before.size(); ++channel) {
        m_step[channel] = before[channel] - after[channel];
    }
    m_left = m_length;
}

void StepFade::apply(std::span<float> values)
{
    for (std::size_t i = 0; i + 1 < values.size() && m_left > 0; i += audioChannels, --m_left) {
        const float share = static_cast<float>(m_left) / static_cast<float>(m_length);
        const float weight = share * share * (3.0F - 2.0F * share); // level at both ends
        for (std::size_t channel = 0; channel < m_step.size(); ++channel) {
            values[i + channel] += m_step[channel] * weight;
        }
    }
}

} // namespace nimbara
