#include "media/sources/frame_pool.h"

#include <utility>

namespace nimbara {

std::shared_ptr<Frame> FramePool::take(FrameSize size)
{
    std::unique_ptr<Frame> frame = reuse(size);
    if (!frame) {
        frame = std::make_unique<Frame>(size.width, size.height);
    }
    return { frame.release(), [pool = weak_from_this()](Frame *dropped) {
                std::unique_ptr<Frame> last(dropped);
                if (const auto alive = pool.lock()) {
                    alive->giveBack(std::move(last));
                }
            } };
}

/// Frames of another size go.
std::unique_ptr<Frame> FramePool::reuse(FrameSize size)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_free, [size](const auto &each) { return !(each->size() == size); });
    if (m_free.empty()) {
        return nullptr;
    }
    std::unique_ptr<Frame> frame = std::move(m_free.back());
    m_free.pop_back();
    return frame;
}

void FramePool::giveBack(std::unique_ptr<Frame> frame)
{
    const std::lock_guard lock(m_mutex);
    if (m_free.size() < mostKept) {
        m_free.push_back(std::move(frame));
    }
}

} // namespace nimbara
