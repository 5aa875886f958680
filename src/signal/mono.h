#pragma once

namespace nimbara {

/// The mean of left and right, clamped to −1..1; 0 when it is not a number.
inline double monoOf(float left, float right)
{
    const double mono = (static_cast<double>(left) + static_cast<double>(right)) * 0.5;
    if (mono > 1.0) {
        return 1.0;
    }
    if (mono < -1.0) {
        return -1.0;
    }
    return mono == mono ? mono : 0.0;
}

/// A sample or its mean energy at or below this is silence, on both roads of the voice.
constexpr double silenceEnergy = 0.00004;

} // namespace nimbara
