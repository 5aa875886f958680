#include "app/end_guard.h"

#include "base/background_task.h"
#include "base/log.h"

#include <cstdlib>
#include <thread>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds logPatience { 200 };

} // namespace

void EndGuard::start(std::chrono::milliseconds patience, int exitCode)
{
    std::thread([calledOff = m_calledOff, patience, exitCode] {
        std::this_thread::sleep_for(patience);
        if (!calledOff->load()) {
            BackgroundTask<void> log; // its disk may be what hangs
            log.tryStart([] { logLine(QStringLiteral("Fin sin esperar a lo que no responde.")); });
            static_cast<void>(log.isReady(logPatience));
            std::_Exit(exitCode);
        }
    }).detach();
}

void EndGuard::callOff()
{
    m_calledOff->store(true);
}

} // namespace nimbara
