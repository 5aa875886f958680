#pragma once

#include "signal/audio_block.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace nimbara::testing {

/// The sound of a device that tells when each of its frames was captured. Left: two tones with a
/// period of 4800 frames. Right: the frame's number, so that what is read tells how old it is.
class DeviceSound {
public:
    static constexpr std::int64_t numbers = 1 << 20; ///< the count starts anew here

    DeviceSound()
        : m_tones(4800)
    {
        for (std::size_t i = 0; i < m_tones.size(); ++i) {
            const double turn = 2.0 * std::numbers::pi * static_cast<double>(i) / 48000.0;
            m_tones[i]
                = static_cast<float>(0.3 * std::sin(440 * turn) + 0.2 * std::sin(1010 * turn));
        }
    }

    /// The frames `from`..`from` + `count`, with the time stamp of the first.
    [[nodiscard]] AudioBlock block(std::int64_t from, std::int64_t count) const
    {
        AudioBlock made;
        made.pts = static_cast<std::uint64_t>(from) * 1'000'000'000 / audioRate + 1;
        made.samples.reserve(static_cast<std::size_t>(count) * audioChannels);
        for (std::int64_t i = from; i < from + count; ++i) {
            made.samples.push_back(m_tones[static_cast<std::size_t>(i) % m_tones.size()]);
            made.samples.push_back(static_cast<float>(i % numbers) / numbers);
        }
        return made;
    }

    /// How many frames lie between the capture of `right` and `now`.
    static std::int64_t age(float right, std::int64_t now)
    {
        const auto number = std::llround(static_cast<double>(right) * numbers);
        return ((now - number) % numbers + numbers) % numbers;
    }

private:
    std::vector<float> m_tones;
};

} // namespace nimbara::testing
