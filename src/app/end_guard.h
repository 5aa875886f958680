#pragma once

#include <atomic>
#include <chrono>
#include <memory>

namespace nimbara {

/// Ends the process whatever hangs on its way out (a share that has gone away, a driver, the key
/// store): the system gives devices and files back then. The log says so.
class EndGuard {
public:
    /// From now on the process ends within this time. To be called when everything that must be
    /// finished is.
    void start(std::chrono::milliseconds patience, int exitCode);
    /// A box is shown: that takes as long as the operator reads.
    void callOff();

private:
    std::shared_ptr<std::atomic<bool>> m_calledOff = std::make_shared<std::atomic<bool>>(false);
};

} // namespace nimbara
