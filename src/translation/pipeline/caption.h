#pragma once

#include "translation/pipeline/phrase_delay.h"

#include <QString>

#include <array>
#include <cstdint>

namespace nimbara {

/// The languages that one run translates into; the second one only where it is wanted.
enum class Target : std::int32_t {
    First = 0,
    Second = 1,
};
inline constexpr std::array bothTargets { Target::First, Target::Second };

/// A phrase that is ready for the screens.
struct Caption {
    QString text; ///< translated
    QString original; ///< as it was transcribed
    PhraseTimes times; ///< of the stages, all but the last
    Target target = Target::First; ///< the language of `text`
};

} // namespace nimbara
