#include "signal/frame.h"

#include "base/error.h"

#include <algorithm>
#include <cstring>

namespace nimbara {

namespace {

void checkSize(std::int32_t width, std::int32_t height)
{
    const auto valid = [](std::int32_t side) { return side >= 1 && side <= Frame::maxSide; };
    if (!valid(width) || !valid(height)) {
        throw Error(QStringLiteral("Invalid frame dimensions"));
    }
}

} // namespace

Frame::Frame(std::int32_t frameWidth, std::int32_t frameHeight)
    : width(frameWidth)
    , height(frameHeight)
{
    checkSize(width, height);
    pixels = PictureBytes(static_cast<std::size_t>(width) * height * 4);
    std::fill(pixels.begin(), pixels.end(), std::uint8_t { 0 });
    makeOpaque(*this);
}

Frame::Frame(std::int32_t frameWidth,
    std::int32_t frameHeight,
    const std::uint8_t *rows,
    std::ptrdiff_t stride,
    bool isOpaque)
    : width(frameWidth)
    , height(frameHeight)
    , opaque(isOpaque)
{
    checkSize(width, height);
    const std::size_t packed = static_cast<std::size_t>(width) * 4;
    pixels = PictureBytes(packed * height);
    if (stride == static_cast<std::ptrdiff_t>(packed)) {
        std::memcpy(pixels.data(), rows, pixels.size());
        return;
    }
    for (std::int32_t y = 0; y < height; ++y) {
        std::memcpy(pixels.data() + packed * y, rows + y * stride, packed);
    }
}

void makeOpaque(Frame &frame)
{
    for (std::size_t alpha = 3; alpha < frame.pixels.size(); alpha += 4) {
        frame.pixels[alpha] = 255;
    }
    frame.opaque = true;
}

QImage imageView(const Frame &frame)
{
    return { frame.pixels.data(),
        frame.width,
        frame.height,
        frame.stride(),
        frame.opaque ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888 };
}

} // namespace nimbara
