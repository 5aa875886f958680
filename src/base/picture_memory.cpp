#include "base/picture_memory.h"

#include "base/picture_block.h"

#include <algorithm>
#include <iterator>
#include <new>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

namespace nimbara {

namespace {

constexpr std::size_t grain
    = std::size_t { 64 } * 1024; ///< blocks of nearly one size serve each other

std::size_t wholeBlock(std::size_t bytes)
{
    return (bytes + grain - 1) / grain * grain;
}

#if defined(__unix__) || defined(__APPLE__)

constexpr bool hasBlocks = true;

void *mapBlock(std::size_t bytes)
{
    int flags = MAP_PRIVATE | MAP_ANONYMOUS; // NOLINT(hicpp-signed-bitwise): the system's own
#ifdef MAP_POPULATE
    flags |= MAP_POPULATE; // NOLINT(hicpp-signed-bitwise): all pages at once, not fault by fault
#endif
    void *block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (block == MAP_FAILED) { // NOLINT: the system's own cast
        throw std::bad_alloc();
    }
    return block;
}

void unmapBlock(void *block, std::size_t bytes) noexcept
{
    munmap(block, bytes);
}

#else

constexpr bool hasBlocks = false;

void *mapBlock(std::size_t bytes)
{
    return ::operator new(bytes);
}

void unmapBlock(void *block, std::size_t /*bytes*/) noexcept
{
    ::operator delete(block);
}

#endif

PictureMemory *&processMemory()
{
    static PictureMemory *memory = nullptr;
    return memory;
}

bool isWorthABlock(std::size_t bytes)
{
    return bytes >= PictureMemory::smallest && pictureMemory() != nullptr;
}

} // namespace

PictureMemory::~PictureMemory()
{
    for (const Idle &each : m_idle) {
        unmapBlock(each.block, each.bytes);
    }
}

void *PictureMemory::take(std::size_t bytes)
{
    const std::size_t whole = wholeBlock(bytes);
    const Idle kept = newestOf(whole);
    return kept.block != nullptr ? kept.block : mapBlock(whole);
}

void PictureMemory::give(void *block, std::size_t bytes) noexcept
{
    const std::size_t whole = wholeBlock(bytes);
    try {
        const std::lock_guard lock(m_mutex);
        m_idle.push_back({ block, whole, m_clock.monotonicUs() });
    } catch (const std::bad_alloc &) {
        unmapBlock(block, whole);
    }
}

void PictureMemory::tidy()
{
    Idle old;
    {
        const std::lock_guard lock(m_mutex);
        if (m_idle.empty() || m_clock.monotonicUs() - m_idle.front().sinceUs < keptForUs) {
            return;
        }
        old = m_idle.front();
        m_idle.erase(m_idle.begin());
    }
    unmapBlock(old.block, old.bytes);
}

std::size_t PictureMemory::idleBytes() const
{
    const std::lock_guard lock(m_mutex);
    std::size_t sum = 0;
    for (const Idle &each : m_idle) {
        sum += each.bytes;
    }
    return sum;
}

/// The newest is the warmest in the processor's cache, and leaves the others to grow old.
PictureMemory::Idle PictureMemory::newestOf(std::size_t bytes)
{
    const std::lock_guard lock(m_mutex);
    const auto place = std::find_if(m_idle.rbegin(), m_idle.rend(), [bytes](const Idle &each) {
        return each.bytes == bytes;
    });
    if (place == m_idle.rend()) {
        return {};
    }
    const Idle found = *place;
    m_idle.erase(std::next(place).base());
    return found;
}

void startPictureMemory()
{
    if (hasBlocks && processMemory() == nullptr) {
        // Never deleted: what is destroyed after main gives its pictures back as well.
        static const auto *clock = new SystemClock; // NOLINT(cppcoreguidelines-owning-memory)
        processMemory() = new PictureMemory(*clock); // NOLINT(cppcoreguidelines-owning-memory)
    }
}

void tidyPictureMemory()
{
    if (PictureMemory *memory = pictureMemory()) {
        memory->tidy();
    }
}

PictureMemory *pictureMemory()
{
    return processMemory();
}

void *takePictureBlock(std::size_t bytes)
{
    return isWorthABlock(bytes) ? pictureMemory()->take(bytes) : ::operator new(bytes);
}

void givePictureBlock(void *block, std::size_t bytes) noexcept
{
    if (isWorthABlock(bytes)) {
        pictureMemory()->give(block, bytes);
    } else {
        ::operator delete(block);
    }
}

} // namespace nimbara
