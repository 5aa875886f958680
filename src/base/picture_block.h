#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace nimbara {

/// From the picture memory where there is one and `bytes` is worth it, else from the heap. Throws
/// std::bad_alloc. Any thread.
[[nodiscard]] void *takePictureBlock(std::size_t bytes);

/// Gives back what `takePictureBlock(bytes)` gave.
void givePictureBlock(void *block, std::size_t bytes) noexcept;

/// The bytes of one picture, in such a block.
class PictureBytes {
public:
    PictureBytes() = default;
    /// With whatever was in them. Throws std::bad_alloc.
    explicit PictureBytes(std::size_t size)
        : m_bytes(static_cast<std::uint8_t *>(takePictureBlock(size)))
        , m_size(size)
    {
    }
    PictureBytes(const PictureBytes &other)
        : PictureBytes(other.m_size)
    {
        std::copy_n(other.m_bytes, m_size, m_bytes);
    }
    PictureBytes(PictureBytes &&other) noexcept
        : m_bytes(std::exchange(other.m_bytes, nullptr))
        , m_size(std::exchange(other.m_size, 0))
    {
    }
    PictureBytes &operator=(PictureBytes other) noexcept
    {
        std::swap(m_bytes, other.m_bytes);
        std::swap(m_size, other.m_size);
        return *this;
    }
    ~PictureBytes()
    {
        if (m_bytes != nullptr) {
            givePictureBlock(m_bytes, m_size);
        }
    }

    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] bool empty() const { return m_size == 0; }
    [[nodiscard]] std::uint8_t *data() { return m_bytes; }
    [[nodiscard]] const std::uint8_t *data() const { return m_bytes; }
    [[nodiscard]] std::uint8_t *begin() { return m_bytes; }
    [[nodiscard]] std::uint8_t *end() { return m_bytes + m_size; }
    [[nodiscard]] const std::uint8_t *begin() const { return m_bytes; }
    [[nodiscard]] const std::uint8_t *end() const { return m_bytes + m_size; }
    std::uint8_t &operator[](std::size_t place) { return m_bytes[place]; }
    const std::uint8_t &operator[](std::size_t place) const { return m_bytes[place]; }

private:
    std::uint8_t *m_bytes = nullptr;
    std::size_t m_size = 0;
};

} // namespace nimbara
