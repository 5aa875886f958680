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

/// A colour over another; `alpha`: 0..1.
QRgb over(QRgb below, const QColor &color, double alpha)
{
    const auto mixed = [alpha](int value, int under) {
        return static_cast<int>(std::lround(value * alpha + under * (1 - alpha)));
    };
    return qRgb(mixed(color.red(), qRed(below)),
        mixed(color.green(), qGreen(below)),
        mixed(color.blue(), qBlue(below)));
}

bool isOutlined(const Layer &layer)
{
    return layer.shadow && layer.outlineWidth >= Layer::usualStrength;
}

/// The least contrast that the layer's words can have over a picture of one colour. Its opacity is
/// that of each drawing: what is behind shows through box, outline and letters.
double contrastOver(const Layer &layer, QRgb behind)
{
    constexpr int passes = 5; // of an outline and its shadow, where they all meet
    constexpr double gaps = 0.05; // what a usual outline leaves free around the letters
    const auto lay = [&layer](QRgb below, const QColor &color) {
        return over(below, color, double { color.alphaF() } * layer.opacity);
    };
    const QRgb box = lay(behind, layer.background);
    const double free = relativeLuminance(box);
    const double outline = relativeLuminance(lay(box, outlineColor));
    std::vector<double> around { isOutlined(layer) ? free * gaps + outline * (1 - gaps) : free };
    std::vector<QRgb> below { box };
    if (layer.shadow) {
        QRgb dark = box;
        for (int pass = 0; pass < passes; ++pass) {
            dark = lay(dark, outlineColor);
        }
        below.push_back(dark);
        around.push_back(outline);
    }
    double least = contrastRatio(0, 1);
    for (const QRgb under : below) {
        const double letters = relativeLuminance(lay(under, layer.color));
        for (const double beside : around) {
            least = std::min(least, contrastRatio(letters, beside));
        }
    }
    return least;
}

/// Whatever is behind: white is the worst behind light letters, black behind dark ones.
bool isSure(const Layer &layer)
{
    constexpr double roundings = 0.05;
    return std::min(contrastOver(layer, qRgb(0, 0, 0)), contrastOver(layer, qRgb(255, 255, 255)))
        >= leastContrast + roundings;
}

Layer outlined(Layer layer)
{
    layer.shadow = true;
    layer.outlineWidth = std::max(layer.outlineWidth, Layer::usualStrength);
    return layer;
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

std::optional<Layer> madeLegible(Layer layer)
{
    if (const Layer tried = outlined(layer); !isOutlined(layer) && isSure(tried)) {
        return tried;
    }
    const double light = relativeLuminance(layer.color.rgb());
    const bool isLight = contrastRatio(light, 0) >= contrastRatio(light, 1);
    layer.background = isLight ? Qt::black : Qt::white;
    layer.shadow = layer.shadow && isLight; // it would be as dark as the letters
    for (const bool outlines : { false, true }) {
        Layer tried = outlines ? outlined(layer) : layer;
        for (int alpha = boxAlpha; alpha <= 255 && (isLight || !outlines); alpha += alphaStep) {
            tried.background.setAlpha(alpha);
            if (isSure(tried)) {
                return tried;
            }
        }
    }
    return std::nullopt;
}

std::optional<std::int32_t> legibleFrom(Layer layer)
{
    for (std::int32_t percent = 1; percent <= 100; ++percent) {
        layer.opacity = percent / 100.0;
        if (madeLegible(layer)) {
            return percent;
        }
    }
    return std::nullopt;
}

} // namespace nimbara
