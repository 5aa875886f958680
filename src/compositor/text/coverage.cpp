#include "compositor/text/coverage.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace nimbara {

namespace {

constexpr std::uint32_t one = 65535; ///< of light that comes through, in 16 bits

/// Light that still comes through each pixel of one row of the sprite, after every stamp.
struct RowLight {
    std::vector<std::uint16_t> through;
    std::int32_t first = 0; ///< columns touched
    std::int32_t end = 0;
};

/// An alpha of 0..1 as what full ink (255) is multiplied with to cover in 16 bits.
std::uint16_t inkFactor(double alpha)
{
    return static_cast<std::uint16_t>(std::lround(std::clamp(alpha, 0.0, 1.0) * 257));
}

/// Sixteen-bit products throughout, which vector units of any age have.
void dim(std::uint16_t *through, const std::uint8_t *ink, std::int32_t count, std::uint16_t alpha)
{
    for (std::int32_t i = 0; i < count; ++i) {
        const auto open
            = static_cast<std::uint16_t>(one - static_cast<std::uint16_t>(ink[i] * alpha));
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
        inkFactor(stamp.alpha));
    light.first = std::min(light.first, first);
    light.end = std::max(light.end, end);
}

/// The four bytes of a pixel, 16 bits apart, so that one multiplication takes them all.
std::uint64_t spread(std::uint32_t pixel)
{
    const std::uint64_t wide = pixel;
    return (wide & 0x00ff00ffU) | ((wide & 0xff00ff00U) << 24U);
}

std::uint32_t gathered(std::uint64_t wide)
{
    return static_cast<std::uint32_t>((wide & 0x00ff00ffU) | ((wide >> 24U) & 0xff00ff00U));
}

/// What the colour adds to a pixel for each amount of light that still comes through, 0..256.
using ColorShares = std::array<std::uint64_t, 257>;

ColorShares colorShares(QRgb color)
{
    const auto red = static_cast<std::uint32_t>(qRed(color));
    const auto green = static_cast<std::uint32_t>(qGreen(color));
    const auto blue = static_cast<std::uint32_t>(qBlue(color));
    const std::uint64_t opaque = spread(red | (green << 8U) | (blue << 16U) | 0xff000000U);
    constexpr std::uint64_t half = 0x0080008000800080U;
    ColorShares shares {};
    for (std::uint64_t through = 0; through < shares.size(); ++through) {
        shares.at(through) = opaque * (256 - through) + half;
    }
    return shares;
}

void paintRow(std::uint32_t *pixels, const RowLight &light, const ColorShares &shares)
{
    for (std::int32_t x = light.first; x < light.end; ++x) {
        const std::uint32_t through = (light.through[x] + 128U) >> 8U;
        if (through < 256) {
            const std::uint64_t mixed = spread(pixels[x]) * through + shares[through];
            pixels[x] = gathered((mixed >> 8U) & 0x00ff00ff00ff00ffU);
        }
    }
}

/// Paint over paint: what the first leaves open, the second covers by its share.
std::uint8_t together(std::uint32_t a, std::uint32_t b)
{
    return static_cast<std::uint8_t>(a + b - (a * b + 127) / 255);
}

/// Adds the alpha of a row; returns the columns that got ink.
Coverage::Span addRow(std::uint8_t *values, const QRgb *pixels, std::int32_t count)
{
    std::uint32_t any = 0;
    for (std::int32_t x = 0; x < count; ++x) {
        any |= pixels[x];
    }
    if (any == 0) {
        return {};
    }
    Coverage::Span span { count, 0 };
    for (std::int32_t x = 0; x < count; ++x) {
        const std::uint32_t alpha = pixels[x] >> 24U;
        if (alpha != 0) {
            values[x] = together(values[x], alpha);
            span.first = std::min(span.first, x);
            span.end = x + 1;
        }
    }
    return span;
}

} // namespace

Coverage::Coverage(const QRect &rect)
    : m_rect(rect)
    , m_values(static_cast<std::size_t>(rect.width()) * rect.height())
    , m_ink(rect.height())
{
}

void Coverage::add(const QImage &ink, const QRect &place)
{
    const QRect part = place & m_rect;
    for (std::int32_t y = part.top(); y <= part.bottom(); ++y) {
        const std::int32_t row = y - m_rect.top();
        const std::int32_t left = part.left() - m_rect.left();
        const auto *pixels = reinterpret_cast<const QRgb *>(ink.constScanLine(y - place.top()));
        const Span added = addRow(m_values.data() + std::ptrdiff_t { row } * m_rect.width() + left,
            pixels + (part.left() - place.left()),
            part.width());
        Span &whole = m_ink[row];
        if (added.first < added.end) {
            const bool first = whole.first == whole.end;
            whole = { first ? added.first + left : std::min(whole.first, added.first + left),
                std::max(whole.end, added.end + left) };
        }
    }
}

QRect Coverage::inkRect() const
{
    QRect rect;
    for (std::int32_t row = 0; row < m_rect.height(); ++row) {
        const Span span = m_ink[row];
        if (span.first < span.end) {
            rect |= QRect(m_rect.left() + span.first, m_rect.top() + row, span.end - span.first, 1);
        }
    }
    return rect;
}

void blendStamps(Sprite &sprite, QRgb color, const std::vector<Stamp> &stamps)
{
    const QRect rect = sprite.rect();
    const ColorShares shares = colorShares(color);
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
            paintRow(reinterpret_cast<std::uint32_t *>(sprite.image.scanLine(row)), light, shares);
        }
    }
}

} // namespace nimbara
