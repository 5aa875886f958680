#pragma once

#include "signal/audio_block.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace nimbara {

/// The voice of the last seconds, so that a road that takes it over gets it from the last cut on.
class AudioTail {
public:
    void push(const AudioBlock &block)
    {
        m_values.insert(m_values.end(), block.samples.begin(), block.samples.end());
        if (static_cast<std::ptrdiff_t>(m_values.size()) > 2 * longest) {
            m_values.erase(m_values.begin(), m_values.end() - longest);
        }
    }

    /// The last frames, as many as there are of them.
    [[nodiscard]] AudioBlock last(std::size_t frames) const
    {
        const std::size_t count = std::min(frames * audioChannels, m_values.size());
        return { { m_values.end() - static_cast<std::ptrdiff_t>(count), m_values.end() }, 0 };
    }

    void clear() { m_values.clear(); }

private:
    /// More than the segmenter ever keeps of silence or behind a cut: 3 s, in values.
    static constexpr std::ptrdiff_t longest = std::ptrdiff_t { 3 } * audioRate * audioChannels;

    std::vector<float> m_values;
};

} // namespace nimbara
