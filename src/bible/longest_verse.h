#pragma once

#include "bible/builtin.h"

namespace bible {

/// The single verse with the most letters; `Ref {}` of a Bible without any text. Goes over the
/// whole Bible, for tens of milliseconds: not for the interface thread.
Ref longestVerse(const Bible &bible);

} // namespace bible
