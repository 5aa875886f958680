#include "app/end_guard.h"

#include "base/log.h"

#include <cstdlib>
#include <thread>

namespace nimbara {

void EndGuard::start(std::chrono::milliseconds patience, int exitCode)
{
    std::thread([calledOff = m_calledOff, patience, exitCode] {
        std::this_thread::sleep_for(patience);
        if (!calledOff->load()) {
            logLine(QStringLiteral("Fin sin esperar a lo que no responde."));
            std::_Exit(exitCode);
        }
    }).detach();
}

void EndGuard::callOff()
{
    m_calledOff->store(true);
}

} // namespace nimbara
