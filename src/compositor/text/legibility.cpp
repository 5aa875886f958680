#include "compositor/text/legibility.h"

#include "compositor/text/paint_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace nimbara {

namespace {

constexpr std::uint8_t fullInk = 250; ///< of 255: the letter's own colour shows
constexpr std::uint8_t halfInk = 128;
constexpr std::uint8_t traceOfInk = 8; ///< less is the background's
constexpr std::int32_t smallestSquare = 16; ///< pixels
constexpr std::size_t fewestPixels = 12; ///< of letters, and of what is around them, in a square
constexpr int boxAlpha = 150; ///< what a new layer has
constexpr int alphaStep = 15;

/// One byte per pixel in a rectangle of the canvas.
struct Plane {
    QRect rect;
    std::vector<std::uint8_t> values;

    explicit Plane(const QRect &of)
        : rect(of)
        , values(static_cast<std::size_t>(of.width()) * static_cast<std::size_t>(of.height()))
    {
    }
    std::uint8_t &at(std::int32_t x, std::int32_t y)
    {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(rect.width())
            + static_cast<std::size_t>(x)];
    }
};

/// The mean light of the letters and of what is around them in one square.
struct Square {
    double ink = 0;
    double around = 0;
    std::size_t inkCount = 0;
    std::size_t aroundCount = 0;

    void add(bool isInk, double light)
    {
        (isInk ? ink : around) += light;
        ++(isInk ? inkCount : aroundCount);
    }
};

double linear(int value)
{
    const double part = value / 255.0;
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

const std::array<double, 256> &linearValues()
{
    static const auto values = [] {
        std::array<double, 256> all {};
        for (int value = 0; value < 256; ++value) {
            all.at(static_cast<std::size_t>(value)) = linear(value);
        }
        return all;
    }();
    return values;
}

double luminance(const std::uint8_t *rgb)
{
    const auto &light = linearValues();
    return 0.2126 * light.at(rgb[0]) + 0.7152 * light.at(rgb[1]) + 0.0722 * light.at(rgb[2]);
}

/// The words alone, in white: neither box nor outline, nor what is dimmed on purpose.
TextBlock inkAlone(TextBlock block)
{
    int brightest = 0;
    for (const TextDraw &draw : block.draws) {
        brightest = std::max(brightest, draw.passes.empty() ? 0 : draw.passes.back().color.alpha());
    }
    block.opacity = 1;
    block.background = QColor(0, 0, 0, 0);
    for (TextDraw &draw : block.draws) {
        const bool isBright = !draw.passes.empty() && draw.part != TextPart::Raised
            && draw.passes.back().color.alpha() == brightest;
        draw.passes = isBright ? std::vector { TextPass { draw.passes.back().offset, Qt::white } }
                               : std::vector<TextPass> {};
    }
    return block;
}

/// The ink of the sprite in a rectangle that may reach further.
Plane inkOf(const Sprite &sprite, const QRect &rect)
{
    Plane ink(rect);
    const QRect common = sprite.rect() & rect;
    const QPoint inPlane = common.topLeft() - rect.topLeft();
    const QPoint inSprite = common.topLeft() - sprite.place;
    for (std::int32_t y = 0; y < common.height(); ++y) {
        const std::uint8_t *from
            = sprite.image.constScanLine(inSprite.y() + y) + std::ptrdiff_t { inSprite.x() } * 4;
        for (std::int32_t x = 0; x < common.width(); ++x) {
            ink.at(inPlane.x() + x, inPlane.y() + y) = from[std::ptrdiff_t { x } * 4 + 3];
        }
    }
    return ink;
}

/// 1 where one of `count` values, `step` apart, has a 1 within `radius` steps.
void widenLine(std::uint8_t *values, std::ptrdiff_t step, std::int32_t count, std::int32_t radius)
{
    std::vector<std::int32_t> upTo(static_cast<std::size_t>(count) + 1);
    for (std::int32_t i = 0; i < count; ++i) {
        upTo[static_cast<std::size_t>(i) + 1]
            = upTo[static_cast<std::size_t>(i)] + values[i * step];
    }
    for (std::int32_t i = 0; i < count; ++i) {
        const auto first = static_cast<std::size_t>(std::max(i - radius, 0));
        const auto end = static_cast<std::size_t>(std::min(i + radius + 1, count));
        values[i * step] = upTo[end] > upTo[first] ? 1 : 0;
    }
}

/// 1 at letters and up to `radius` pixels beside them.
Plane nearInk(const Plane &ink, std::int32_t radius)
{
    Plane near(ink.rect);
    std::transform(ink.values.begin(), ink.values.end(), near.values.begin(), [](std::uint8_t of) {
        return std::uint8_t { of >= halfInk };
    });
    const std::int32_t width = near.rect.width();
    const std::int32_t height = near.rect.height();
    for (std::int32_t y = 0; y < height; ++y) {
        widenLine(&near.at(0, y), 1, width, radius);
    }
    for (std::int32_t x = 0; x < width; ++x) {
        widenLine(&near.at(x, 0), width, height, radius);
    }
    return near;
}

/// Squares of the canvas, `side` pixels wide, with what the ink's rectangle has of them.
std::vector<Square> lookAt(Plane &ink, Plane &near, const QImage &composed, std::int32_t side)
{
    const QRect &rect = ink.rect;
    const QRect grid(QPoint(rect.left() / side, rect.top() / side),
        QPoint(rect.right() / side, rect.bottom() / side));
    std::vector<Square> squares(
        static_cast<std::size_t>(grid.width()) * static_cast<std::size_t>(grid.height()));
    for (std::int32_t y = rect.top(); y <= rect.bottom(); ++y) {
        const std::uint8_t *line = composed.constScanLine(y);
        for (std::int32_t x = rect.left(); x <= rect.right(); ++x) {
            const std::uint8_t covered = ink.at(x - rect.x(), y - rect.y());
            if (near.at(x - rect.x(), y - rect.y()) == 0
                || (covered > traceOfInk && covered < fullInk)) {
                continue;
            }
            const std::int32_t place = (y / side - grid.y()) * grid.width() + x / side - grid.x();
            squares[static_cast<std::size_t>(place)].add(covered >= fullInk,
                luminance(line + std::ptrdiff_t { x } * 4));
        }
    }
    return squares;
}

/// A colour laid over another.
QRgb over(const QColor &color, int alpha, int grey)
{
    const auto mixed = [&](int value) { return (value * alpha + grey * (255 - alpha)) / 255; };
    return qRgb(mixed(color.red()), mixed(color.green()), mixed(color.blue()));
}

/// In front of the worst that may be behind: white behind light letters, black behind dark ones.
bool suffices(const QColor &text, const QColor &cover, int alpha, int behind)
{
    return contrastRatio(relativeLuminance(text.rgb()),
               relativeLuminance(over(cover, alpha, behind)))
        >= leastContrast;
}

} // namespace

double relativeLuminance(QRgb color)
{
    const std::array<std::uint8_t, 3> rgb { static_cast<std::uint8_t>(qRed(color)),
        static_cast<std::uint8_t>(qGreen(color)),
        static_cast<std::uint8_t>(qBlue(color)) };
    return luminance(rgb.data());
}

double contrastRatio(double luminance, double other)
{
    return (std::max(luminance, other) + 0.05) / (std::min(luminance, other) + 0.05);
}

std::optional<double> textContrast(const TextBlock &block, const QImage &composed, GlyphInk &glyphs)
{
    const Sprite sprite = paintText(inkAlone(block), glyphs);
    if (sprite.image.isNull()) {
        return std::nullopt;
    }
    const std::int32_t letter = block.font.pixelSize();
    const std::int32_t radius = std::max(letter / 20, 2); // within an outline
    Plane ink
        = inkOf(sprite, sprite.rect().adjusted(-radius, -radius, radius, radius) & composed.rect());
    Plane near = nearInk(ink, radius);
    std::vector<double> ratios;
    for (const Square &square : lookAt(ink, near, composed, std::max(letter, smallestSquare))) {
        if (std::min(square.inkCount, square.aroundCount) >= fewestPixels) {
            ratios.push_back(contrastRatio(square.ink / static_cast<double>(square.inkCount),
                square.around / static_cast<double>(square.aroundCount)));
        }
    }
    if (ratios.empty()) {
        return std::nullopt;
    }
    const auto tenth = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 10);
    std::nth_element(ratios.begin(), tenth, ratios.end());
    return *tenth;
}

Layer madeLegible(Layer layer)
{
    constexpr int white = 255;
    constexpr int black = 0;
    const bool isOutlined = layer.shadow && layer.outlineWidth >= Layer::usualStrength;
    if (!isOutlined && suffices(layer.color, outlineColor, outlineColor.alpha(), white)) {
        layer.shadow = true;
        layer.outlineWidth = std::max(layer.outlineWidth, Layer::usualStrength);
        return layer;
    }
    const bool isLight = contrastRatio(relativeLuminance(layer.color.rgb()), 0)
        >= contrastRatio(relativeLuminance(layer.color.rgb()), 1);
    const QColor box = isLight ? Qt::black : Qt::white;
    int alpha = boxAlpha;
    while (alpha < 255 && !suffices(layer.color, box, alpha, isLight ? white : black)) {
        alpha += alphaStep;
    }
    layer.shadow = layer.shadow && isLight; // it would be as dark as the letters
    layer.background = box;
    layer.background.setAlpha(alpha);
    return layer;
}

} // namespace nimbara
