#pragma once

#include <cstdint>
#include <optional>

namespace nimbara {

/// How busy the machine is, all programs together. Linux's /proc/stat (proc(5)); elsewhere nothing
/// is known.
class CpuMeter {
public:
    /// Share 0..1 since the call before; none at first.
    std::optional<double> share();

private:
    std::uint64_t m_busy = 0;
    std::uint64_t m_all = 0;
};

} // namespace nimbara
