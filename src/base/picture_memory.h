#pragma once

#include "base/clock.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace nimbara {

/// Memory for pictures, apart from the heap: blocks straight from the system (mmap(2)), kept for
/// the next picture of their size, and given back when none has come for a while. In the heap small
/// things that stay come to lie between the pictures, so that what the busiest minute took stays
/// resident for the rest of the service. Any thread.
class PictureMemory {
public:
    static constexpr std::size_t smallest = std::size_t { 256 } * 1024; ///< bytes worth a block
    static constexpr std::int64_t keptForUs = 10'000'000;

    explicit PictureMemory(const Clock &clock)
        : m_clock(clock)
    {
    }
    PictureMemory(const PictureMemory &) = delete;
    PictureMemory &operator=(const PictureMemory &) = delete;
    PictureMemory(PictureMemory &&) = delete;
    PictureMemory &operator=(PictureMemory &&) = delete;
    ~PictureMemory();

    /// `bytes` of memory with whatever was in it, aligned to a page. Throws std::bad_alloc.
    [[nodiscard]] void *take(std::size_t bytes);

    /// Takes a block back that was taken with the same `bytes`.
    void give(void *block, std::size_t bytes) noexcept;

    /// Gives the system the block back that has been idle for longest, where that is long enough.
    /// One at a time, about half a millisecond: call it for each frame.
    void tidy();

    /// What nobody uses now, in bytes.
    [[nodiscard]] std::size_t idleBytes() const;

private:
    struct Idle {
        void *block = nullptr;
        std::size_t bytes = 0;
        std::int64_t sinceUs = 0;
    };

    Idle newestOf(std::size_t bytes);

    const Clock &m_clock;
    mutable std::mutex m_mutex;
    std::vector<Idle> m_idle; ///< the one that came last is at the end
};

/// From now on `takePictureBlock` (picture_block.h) goes to one PictureMemory of the whole process.
/// Call it first in the process, before any picture is made; without it (and where the system has
/// no mmap) the heap is used.
void startPictureMemory();

/// `PictureMemory::tidy` of that memory, where there is one.
void tidyPictureMemory();

/// The memory of the process, or null: see `startPictureMemory`.
[[nodiscard]] PictureMemory *pictureMemory();

} // namespace nimbara
