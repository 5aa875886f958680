#include "studio/programs/tick_priority.h"

#include "base/log.h"
#include "base/thread_priority.h"
#include "output/encode/task_threads.h"

namespace nimbara {

namespace {

constexpr int niceness = -11; ///< within what the service gives, by default down to -15

void tell(const QString &error)
{
    if (!error.isEmpty()) {
        logLine(QStringLiteral("Sin prioridad para la mezcla: ") + error);
        return;
    }
    logLine(QStringLiteral("La mezcla tiene prioridad sobre otros programas."));
    letEncodersKeepTheirTurn();
}

} // namespace

void askForTickPriority()
{
    askForPriority(niceness, tell);
}

} // namespace nimbara
