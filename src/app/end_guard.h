#pragma once

#include <chrono>

namespace nimbara {

/// From now on the process ends within this time, whatever hangs on the way out (a share that has
/// gone away, a driver, the key store): the system gives its devices and files back then. The log
/// says so. To be called when everything that must be finished is.
void endWithin(std::chrono::milliseconds patience, int exitCode);

} // namespace nimbara
