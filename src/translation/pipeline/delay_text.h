#pragma once

#include "base/message.h"
#include "translation/pipeline/phrase_delay.h"

#include <cstdint>

/// The delays of the captions in words. Pure.
namespace nimbara::delay_text {

/// Seconds with one decimal.
Message seconds(std::int64_t ms);

/// Median and ninth tenth; empty before the first phrase.
Message summary(const DelayMeter::Figures &figures);

/// The median of each stage; what was held back only where anything was.
Message stages(const DelayMeter::Figures &figures);

} // namespace nimbara::delay_text
