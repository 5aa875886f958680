#pragma once

#include "signal/frame.h"

#include <memory>
#include <mutex>
#include <vector>

namespace nimbara {

/// Frames for one source's pictures, used again when nobody holds them any more: to make a new one
/// takes as long as to fill it. Make it shared. Any thread.
class FramePool : public std::enable_shared_from_this<FramePool> {
public:
    /// An opaque frame of that size with whatever picture it had; every byte is to be written.
    /// Throws `Error` "Invalid frame dimensions" outside 1..8192.
    [[nodiscard]] std::shared_ptr<Frame> take(FrameSize size);

private:
    static constexpr std::size_t mostKept = 4;

    std::unique_ptr<Frame> reuse(FrameSize size);
    void giveBack(std::unique_ptr<Frame> frame);

    std::mutex m_mutex;
    std::vector<std::unique_ptr<Frame>> m_free;
};

} // namespace nimbara
