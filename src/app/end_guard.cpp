#include "app/end_guard.h"

#include "base/log.h"

#include <cstdlib>
#include <thread>

namespace nimbara {

void endWithin(std::chrono::milliseconds patience, int exitCode)
{
    std::thread([patience, exitCode] {
        std::this_thread::sleep_for(patience);
        logLine(QStringLiteral("Fin sin esperar a lo que no responde."));
        std::_Exit(exitCode);
    }).detach();
}

} // namespace nimbara
