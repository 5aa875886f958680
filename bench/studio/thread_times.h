#pragma once

#include <map>
#include <string>

namespace nimbara::bench {

/// CPU seconds of this process so far by the name of the thread, with those that have ended under
/// "(ended)".
std::map<std::string, double> threadCpuSeconds();

} // namespace nimbara::bench
