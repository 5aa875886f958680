#pragma once

#include "bible/reference.h"

#include <cstdint>

/// The verses of the canon by their number, 0 for Genesis 1:1. Callable from any thread.
namespace bible {

/// Of the whole canon.
std::int32_t verseTotal();

/// The single verse with a number within the total.
Ref verseAt(std::int32_t number);

/// The number of a single verse of the canon; -1 for anything else.
std::int32_t verseNumber(const Ref &verse);

} // namespace bible
