#pragma once

#include "base/picture_block.h"

#include <QImage>

#include <cstdint>
#include <memory>

namespace nimbara {

/// Width and height of a picture in pixels.
struct FrameSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const FrameSize &) const = default;
};

/// The picture type between sources, compositor and outputs: packed RGBA rows, top to bottom.
///
/// A frame is replaced, never edited, once someone else holds it (`FramePtr`): the pointer is the
/// picture's identity.
struct Frame {
    static constexpr std::int32_t maxSide = 8192;

    /// Opaque black. Throws `Error` "Invalid frame dimensions" outside 1..8192 in a direction.
    Frame(std::int32_t width, std::int32_t height);

    /// A copy of packed or padded RGBA rows. `stride` is the distance of two rows in bytes. Throws
    /// as above.
    Frame(std::int32_t width,
        std::int32_t height,
        const std::uint8_t *rows,
        std::ptrdiff_t stride,
        bool isOpaque);

    std::int32_t width = 0;
    std::int32_t height = 0;
    PictureBytes pixels; ///< width × height × 4 bytes: R, G, B, A
    bool opaque = true; ///< every alpha byte is known to be 255

    [[nodiscard]] FrameSize size() const { return { width, height }; }
    [[nodiscard]] std::ptrdiff_t stride() const { return std::ptrdiff_t { width } * 4; }
};

using FramePtr = std::shared_ptr<const Frame>;

/// Sets every alpha byte to 255 and marks the frame opaque.
void makeOpaque(Frame &frame);

/// A view of the frame for painting, without a copy: valid while `frame` lives. Opaque frames get a
/// format without alpha, which draws several times faster.
QImage imageView(const Frame &frame);

} // namespace nimbara
