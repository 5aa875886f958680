#include "app/studio_run.h"

#include "base/error.h"
#include "base/log.h"

#include <chrono>
#include <utility>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds wayOut { 3000 }; ///< after the loop; the outputs had 6 s

/// A fault somewhere else is no reason to leave a recording without its end.
void endAfterFault(StudioWindow &window)
{
    try {
        if (const std::optional<Message> lost = window.endWork()) {
            logLine(lost->spanish());
        }
    } catch (const std::exception &error) {
        logLine(errorMessage(error).spanish());
    } catch (...) {
        logLine(QStringLiteral("Error inesperado"));
    }
}

} // namespace

/// The window lives inside, so that every pipeline is gone when this returns.
int runStudio(StudioApplication &application, EndGuard &guard, StudioServices services)
{
    StudioWindow window(false, std::move(services));
    window.show();
    int exitCode = 1;
    try {
        exitCode = application.runLoop();
    } catch (...) {
        endAfterFault(window);
        guard.start(wayOut, exitCode);
        throw;
    }
    guard.start(wayOut, exitCode);
    return exitCode;
}

} // namespace nimbara
