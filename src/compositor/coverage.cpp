#include "compositor/coverage.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::uint32_t one = 65535; ///< of light that comes through, in 16 bits

/// Light that still comes through each pixel of one row of the sprite, after every stamp.
struct RowLight {
    std::vector<std::uint16_t> through;
    std::int32_t first = 0; ///< columns touched
    std::int32_t end = 0;
};

std::uint16_t sixteenBits(double alpha)
{
    return static_cast<std::uint16_t>(std::clamp(alpha, 0.0, 1.0) * one + 0.5);
}

void dim(std::uint16_t *through, const std::uint8_t *ink, std::int32_t count, std::uint32_t alpha)
{
    for (std::int32_t i = 0; i < count; ++i) {
        const auto covered = static_cast<std::uint16_t>((ink[i] * 257U * alpha) >> 16U);
        const auto open = static_cast<std::uint16_t>(one - covered);
        through[i] = static_cast<std::uint16_t>((std::uint32_t { through[i] } * open) >> 16U);
    }
}

void dimRow(RowLight &light, const Stamp &stamp, const QRect &sprite, std::int32_t row)
{
    const QRect &mask = stamp.coverage->rect();
    const std::int32_t maskRow = row + sprite.y() - stamp.offset.y() - mask.y();
    if (maskRow < 0 || maskRow >= mask.height()) {
        return;
    }
    const std::int32_t shift = mask.x() + stamp.offset.x() - sprite.x();
    const Coverage::Span ink = stamp.coverage->ink(maskRow);
    const std::int32_t first = std::max(ink.first + shift, 0);
    const std::int32_t end = std::min(ink.end + shift, sprite.width());
    if (first >= end) {
        return;
    }
    dim(light.through.data() + first,
        stamp.coverage->row(maskRow) + (first - shift),
        end - first,
        sixteenBits(stamp.alpha));
    light.first = std::min(light.first, first);
    light.end = std::max(light.end, end);
}

std::uint8_t mixed(std::uint8_t below, std::uint32_t above, std::uint32_t through)
{
    return static_cast<std::uint8_t>((below * through + above * (one - through) + 32768) >> 16U);
}

void paintRow(std::uint8_t *pixels, const RowLight &light, QRgb color)
{
    for (std::int32_t x = light.first; x < light.end; ++x) {
        const std::uint32_t through = light.through[x];
        if (through > one - 8) { // rounding of untouched pixels
            continue;
        }
        std::uint8_t *pixel = pixels + std::ptrdiff_t { x } * 4;
        pixel[0] = mixed(pixel[0], qRed(color), through);
        pixel[1] = mixed(pixel[1], qGreen(color), through);
        pixel[2] = mixed(pixel[2], qBlue(color), through);
        pixel[3] = mixed(pixel[3], 255, through);
    }
}

} // namespace

Coverage::Coverage(const QImage &ink, QPoint place)
    : m_rect(place, ink.size())
    , m_values(static_cast<std::size_t>(ink.width()) * ink.height())
    , m_ink(ink.height())
{
    std::uint8_t *values = m_values.data();
    for (std::int32_t y = 0; y < ink.height(); ++y, values += ink.width()) {
        const auto *pixels = reinterpret_cast<const QRgb *>(ink.constScanLine(y));
        std::transform(pixels, pixels + ink.width(), values, [](QRgb pixel) {
            return static_cast<std::uint8_t>(pixel >> 24U);
        });
        const auto isInk = [](std::uint8_t value) { return value != 0; };
        std::uint8_t *end = values + ink.width();
        std::uint8_t *first = std::find_if(values, end, isInk);
        while (end != first && !isInk(end[-1])) {
            --end;
        }
        m_ink[y] = { static_cast<std::int32_t>(first - values),
            static_cast<std::int32_t>(end - values) };
    }
}

void blendStamps(Sprite &sprite, QRgb color, const std::vector<Stamp> &stamps)
{
    const QRect rect = sprite.rect();
    RowLight light;
    light.through.resize(rect.width());
    for (std::int32_t row = 0; row < rect.height(); ++row) {
        std::fill(light.through.begin(), light.through.end(), static_cast<std::uint16_t>(one));
        light.first = rect.width();
        light.end = 0;
        for (const Stamp &stamp : stamps) {
            dimRow(light, stamp, rect, row);
        }
        if (light.first < light.end) {
            paintRow(sprite.image.scanLine(row), light, color);
        }
    }
}

} // namespace nimbara
