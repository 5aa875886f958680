#include "studio/thread_times.h"

#include "studio/studio_run.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace nimbara::bench {

namespace {

/// CPU seconds of the thread whose `stat` file (proc(5)) this is: fields 14 and 15, behind a name
/// that may hold blanks.
double cpuSecondsOf(const std::filesystem::path &stat)
{
    std::ifstream file(stat);
    const std::string text { std::istreambuf_iterator<char>(file), {} };
    const std::size_t behindName = text.rfind(')');
    if (behindName == std::string::npos) {
        return 0; // the thread has just ended
    }
    std::istringstream fields(text.substr(behindName + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

} // namespace

std::map<std::string, double> threadCpuSeconds()
{
    std::map<std::string, double> seconds;
    double known = 0;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "comm");
        std::string name;
        std::getline(file, name);
        const double cpu = cpuSecondsOf(task.path() / "stat");
        seconds[name] += cpu;
        known += cpu;
    }
    seconds["(ended)"] = processCpuSeconds() - known;
    return seconds;
}

} // namespace nimbara::bench
