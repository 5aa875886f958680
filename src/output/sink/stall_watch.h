#pragma once

#include "media/gst/gst_handles.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace nimbara {

/// Finds a network sink that takes no more data: a server that keeps the connection open and has
/// stopped reading gives no error, however long one waits.
///
/// Time is that of the program's ticks, so a stall of the program itself is not held against the
/// server. Interface thread only.
class StallWatch {
public:
    static constexpr std::uint64_t patience = 8'000'000'000; ///< ns without any data taken
    static constexpr std::uint64_t longestTick = 1'000'000'000; ///< ns that one call may count

    /// None: a recording, which waits for its disk.
    StallWatch() = default;
    /// `sink` has an input pad "sink" and has not been started yet.
    explicit StallWatch(GstElement *sink);

    /// Once per tick, with its time in ns, which never goes back: whether the sink has taken
    /// nothing for longer than `patience`.
    [[nodiscard]] bool stalled(std::uint64_t tNs);

private:
    using Count = std::atomic<std::uint64_t>;

    std::shared_ptr<const Count> m_taken; ///< buffers that reached the sink
    std::uint64_t m_seen = 0; ///< of `m_taken`
    std::uint64_t m_last = 0; ///< ns, time of the last call
    std::uint64_t m_waited = 0; ///< ns since a buffer was taken
};

} // namespace nimbara
