#include "base/clock.h"

#include <QDateTime>

#include <glib.h>

namespace nimbara {

std::int64_t SystemClock::monotonicUs() const
{
    return g_get_monotonic_time();
}

std::int64_t SystemClock::wallMs() const
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace nimbara
