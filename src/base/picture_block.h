#pragma once

#include <cstddef>

namespace nimbara {

/// From the picture memory where there is one and `bytes` is worth it, else from the heap. Throws
/// std::bad_alloc. Any thread.
[[nodiscard]] void *takePictureBlock(std::size_t bytes);

/// Gives back what `takePictureBlock(bytes)` gave.
void givePictureBlock(void *block, std::size_t bytes) noexcept;

/// Lets a container of the standard library keep its elements there.
template <typename T> struct PictureAllocator {
    using value_type = T;

    PictureAllocator() = default;
    template <typename U> explicit PictureAllocator(const PictureAllocator<U> & /*other*/) { }

    [[nodiscard]] T *allocate(std::size_t count)
    {
        return static_cast<T *>(takePictureBlock(count * sizeof(T)));
    }
    void deallocate(T *first, std::size_t count) noexcept
    {
        givePictureBlock(first, count * sizeof(T));
    }
    bool operator==(const PictureAllocator & /*other*/) const { return true; }
};

} // namespace nimbara
