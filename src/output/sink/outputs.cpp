#include "output/sink/outputs.h"

#include <algorithm>

namespace nimbara {

Outputs::Outputs(const std::shared_ptr<Retirement> &retirement)
    : m_encoders(retirement)
    , m_recording(retirement, m_encoders)
{
    std::transform(destinationPresets().begin(),
        destinationPresets().end(),
        m_destinations.begin(),
        [&](const DestinationPreset &preset) {
            return std::make_unique<Destination>(QString::fromUtf8(preset.name),
                retirement,
                m_encoders);
        });
}

Outputs::Stopped
Outputs::push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs)
{
    Stopped stopped;
    stopped.recording = m_recording.push(frame, block, tNs);
    for (std::size_t slot = 0; slot < m_destinations.size(); ++slot) {
        if (m_destinations[slot]->push(frame, block, tNs)) {
            stopped.destinations.push_back(slot);
        }
    }
    m_encoders.poll(tNs);
    return stopped;
}

void Outputs::rest(std::int64_t tNs)
{
    m_encoders.rest(tNs);
}

bool Outputs::any() const
{
    return m_recording.exists()
        || std::any_of(m_destinations.begin(), m_destinations.end(), [](const auto &destination) {
               return destination->running();
           });
}

void Outputs::stopStreams()
{
    for (const auto &destination : m_destinations) {
        destination->stop();
    }
}

} // namespace nimbara
