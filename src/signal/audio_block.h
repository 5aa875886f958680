#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace nimbara {

constexpr std::int32_t audioRate = 48000; ///< frames per second of every audio path
constexpr std::int32_t audioChannels = 2; ///< left, right

/// The one audio format of the system: interleaved stereo 32-bit float at 48000 Hz, nominal range
/// −1..1, an even count of values.
struct AudioBlock {
    std::vector<float> samples;
    std::uint64_t pts = 0; ///< presentation time in nanoseconds; 0 when unknown
};

/// A bounded queue of interleaved stereo values. When it is full the oldest are dropped.
/// Interface thread only.
class AudioFifo {
public:
    /// One second of stereo.
    static constexpr std::size_t defaultLimit = 96000;

    explicit AudioFifo(std::size_t limit = defaultLimit)
        : m_limit(limit)
    {
    }

    /// Appends the values; returns how many old ones were dropped to stay within the limit.
    std::size_t push(std::span<const float> values);

    /// Takes up to `into.size()` values; what is missing becomes 0.0. Returns how many were there.
    std::size_t pop(std::span<float> into);

    /// Drops up to `count` of the oldest values.
    void drop(std::size_t count);

    /// The value at `index` from the oldest; `index` < size().
    [[nodiscard]] float at(std::size_t index) const { return m_values[index]; }
    [[nodiscard]] std::size_t size() const { return m_values.size(); }
    [[nodiscard]] bool empty() const { return m_values.empty(); }
    void clear() { m_values.clear(); }

private:
    std::size_t m_limit;
    std::deque<float> m_values;
};

} // namespace nimbara
