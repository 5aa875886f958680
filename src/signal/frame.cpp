#include "signal/frame.h"

#include "base/error.h"

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
    pixels.resize(static_cast<std::size_t>(width) * height * 4);
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
    const std::ptrdiff_t packed = std::ptrdiff_t { width } * 4;
    if (stride == packed) {
        pixels.assign(rows, rows + packed * height);
        return;
    }
    pixels.reserve(static_cast<std::size_t>(packed) * height);
    for (std::int32_t y = 0; y < height; ++y) {
        const std::uint8_t *row = rows + y * stride;
        pixels.insert(pixels.end(), row, row + packed);
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
