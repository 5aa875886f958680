#pragma once

#include "studio/outputs/minute_sum.h"

#include <QString>

namespace nimbara {

/// The last minute as a small picture in rich text, newest to the right, for a tool tip. Empty
/// while nothing was counted.
QString minuteCurve(const MinuteSum &sum);

} // namespace nimbara
