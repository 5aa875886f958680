#include "signal/sound_delay.h"

#include "signal/audio_block.h"

#include <algorithm>

namespace nimbara {

void SoundDelay::setLength(std::size_t frames)
{
    const std::size_t values = frames * audioChannels;
    if (values < m_held.size()) {
        m_held.erase(m_held.begin(), m_held.end() - static_cast<std::ptrdiff_t>(values));
    } else {
        m_held.insert(m_held.begin(), values - m_held.size(), 0.0F);
    }
}

std::size_t SoundDelay::length() const
{
    return m_held.size() / audioChannels;
}

void SoundDelay::apply(std::span<float> values)
{
    if (m_held.empty()) {
        return;
    }
    for (float &value : values) {
        m_held.push_back(value);
        value = m_held.front();
        m_held.pop_front();
    }
}

void SoundDelay::silence()
{
    std::fill(m_held.begin(), m_held.end(), 0.0F);
}

} // namespace nimbara
