#pragma once

#include <cstddef>
#include <deque>
#include <span>

namespace nimbara {

/// Holds a stereo sound back by a length of time. As many values come out as go in. Interface
/// thread only.
class SoundDelay {
public:
    /// In stereo frames. A longer delay begins with the silence that it lacks; a shorter one leaves
    /// out the oldest that is held. Either is a step, which the owner fades.
    void setLength(std::size_t frames);
    [[nodiscard]] std::size_t length() const;

    /// Takes the interleaved values and leaves those that are due in their place.
    void apply(std::span<float> values);

    /// What is held becomes silence.
    void silence();

private:
    std::deque<float> m_held;
};

} // namespace nimbara
