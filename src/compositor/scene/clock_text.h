#pragma once

#include "document/layer.h"

#include <QString>

#include <cstdint>
#include <map>

namespace nimbara {

/// What clock layers go by at one moment: one for all pictures of a frame, so that they show the
/// same second. A plain value.
struct ClockReading {
    std::int64_t wallMs = 0; ///< since the epoch; told as the local time
    std::map<SourceId, std::int64_t> elapsedMs {}; ///< of countdowns that were started; others: 0
};

/// What a clock layer shows: "10:07", "10:07:33", or what is left of a countdown, "04:59" or
/// "1:04:59". A second that has begun counts as left. From zero on it is the layer's own text,
/// or "00:00" where that is empty.
QString clockText(const Layer &layer, const ClockReading &reading);

/// Whether the layer is a countdown of a length, and that has run out.
bool hasRunOut(const Layer &layer, const ClockReading &reading);

} // namespace nimbara
