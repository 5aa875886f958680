#include "signal/audio_block.h"

#include <algorithm>

namespace nimbara {

std::size_t AudioFifo::push(std::span<const float> values)
{
    m_values.insert(m_values.end(), values.begin(), values.end());
    const std::size_t excess = m_values.size() > m_limit ? m_values.size() - m_limit : 0;
    drop(excess);
    return excess;
}

std::size_t AudioFifo::pop(std::span<float> into)
{
    const std::size_t taken = std::min(into.size(), m_values.size());
    const auto end = m_values.begin() + static_cast<std::ptrdiff_t>(taken);
    std::copy(m_values.begin(), end, into.begin());
    std::fill(into.begin() + static_cast<std::ptrdiff_t>(taken), into.end(), 0.0F);
    m_values.erase(m_values.begin(), end);
    return taken;
}

void AudioFifo::drop(std::size_t count)
{
    const auto end
        = m_values.begin() + static_cast<std::ptrdiff_t>(std::min(count, m_values.size()));
    m_values.erase(m_values.begin(), end);
}

} // namespace nimbara
