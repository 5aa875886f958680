#include "compositor/text/text_block.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace nimbara {

namespace {

const QColor bandColor(12, 48, 88, 235);
constexpr double dimmedAlpha = 0.55; ///< of the phrases before the newest
constexpr double numberAlpha = 0.75; ///< of raised numbers
constexpr double columnGap = 32; ///< pixels between two texts side by side

QRectF textArea(const QRectF &box, double marginX, double marginY)
{
    return box.adjusted(marginX, marginY, -marginX, -marginY);
}

QFont layerFont(const Layer &layer, std::int32_t frameHeight)
{
    QFont font(layer.font);
    font.setPixelSize(std::max(frameHeight * layer.size / 1080, 4));
    font.setWeight(layer.bold ? QFont::Bold : QFont::Normal);
    font.setCapitalization(layer.upperCase ? QFont::AllUppercase : QFont::MixedCase);
    return font;
}

QFont overlayFont(std::int32_t points)
{
    QFont font(QStringLiteral("Sans Serif"));
    font.setPointSize(std::max(points, 16));
    font.setWeight(QFont::Bold);
    return font;
}

/// Copies of the text around it. Where they are further away than usual, more of them leave no gap.
void addOutline(std::vector<TextPass> &list, double usual, std::int32_t percent)
{
    const auto add = [&list](double x, double y) { list.push_back({ { x, y }, outlineColor }); };
    const auto addCorners = [&add](double d) {
        add(d, d);
        add(-d, d);
        add(d, -d);
        add(-d, -d);
    };
    if (percent == 0) {
        return;
    }
    const double width = std::max(std::round(usual * percent / Layer::usualStrength), 1.0);
    if (width > usual) {
        const double side = std::round(std::numbers::sqrt2 * width); // as far away as the corners
        add(side, 0);
        add(-side, 0);
        add(0, side);
        add(0, -side);
        addCorners(width);
    }
    addCorners(std::min(width, usual));
}

void addShadow(std::vector<TextPass> &list, double usual, std::int32_t percent)
{
    if (percent == 0) {
        return;
    }
    QColor color = outlineColor;
    color.setAlpha(color.alpha() * std::min(percent, Layer::usualStrength) / Layer::usualStrength);
    const double reach = 1.5 * usual * std::max(percent, Layer::usualStrength);
    list.push_back({ QPointF(0, reach / Layer::usualStrength), color });
}

/// The text in its colour, over a dark outline and drop shadow if the layer wants them.
std::vector<TextPass> passes(const Layer &layer, std::int32_t frameHeight, const QColor &color)
{
    std::vector<TextPass> list;
    if (layer.shadow) {
        const double usual = std::max(frameHeight * layer.size / 19440, 2);
        addOutline(list, usual, layer.outlineWidth);
        addShadow(list, usual, layer.shadowStrength);
    }
    list.push_back({ QPointF(), color });
    return list;
}

QColor dimmed(QColor color, double alpha = dimmedAlpha)
{
    color.setAlphaF(static_cast<float>(color.alphaF() * alpha));
    return color;
}

/// The words, and what is raised in them dimmed.
void addVerse(std::vector<TextDraw> &draws,
    PlacedText verse,
    const TextDraw &like,
    const std::vector<TextPass> &dim)
{
    TextDraw words = like;
    words.text = std::move(verse.text);
    if (verse.raised.empty()) {
        draws.push_back(std::move(words));
        return;
    }
    words.raised = std::move(verse.raised);
    words.part = TextPart::Words;
    TextDraw numbers = words;
    numbers.part = TextPart::Raised;
    numbers.passes = dim;
    draws.push_back(std::move(words));
    draws.push_back(std::move(numbers));
}

std::vector<TextDraw> verseDraws(const Layer &layer,
    const QRectF &area,
    std::int32_t frameHeight,
    const RaisedNumbers &numbers)
{
    TextDraw like { {}, area, layer.align, passes(layer, frameHeight, layer.color), false };
    const auto dim = passes(layer, frameHeight, dimmed(layer.color, numberAlpha));
    std::vector<TextDraw> draws;
    if (!layer.secondText.isEmpty()) {
        like.area.setWidth(std::max((area.width() - columnGap) / 2, 0.0));
    }
    addVerse(draws,
        placed({ layer.text, numbers.first }, layer.reference, layer.referencePlace),
        like,
        dim);
    if (!layer.secondText.isEmpty()) {
        like.area.moveRight(area.right());
        addVerse(draws,
            placed({ layer.secondText, numbers.second },
                layer.secondReference,
                layer.referencePlace),
            like,
            dim);
    }
    return draws;
}

std::vector<TextDraw> layerDraws(const Layer &layer, const QRectF &area, std::int32_t frameHeight)
{
    const auto bright = passes(layer, frameHeight, layer.color);
    if (layer.kind == LayerKind::Subtitle) {
        // From the top in any layer, so that a phrase stays where it is when the next one comes.
        const std::int32_t top = (layer.align & align::horizontalMask) | align::top;
        if (layer.reference.isEmpty()) {
            return { { layer.text, area, top, bright, false } };
        }
        return {
            { layer.text, area, top, passes(layer, frameHeight, dimmed(layer.color)), false },
            { layer.reference, area, top, bright, true },
        };
    }
    return { { layer.text, area, layer.align, bright, false } };
}

} // namespace

PlacedText placed(PlacedText passage, const QString &reference, std::int32_t place)
{
    if (reference.isEmpty() || place == reference_place::hidden) {
        return passage;
    }
    if (place != reference_place::before) {
        passage.text += QLatin1Char('\n') + reference;
        return passage;
    }
    passage.text.prepend(reference + QLatin1Char('\n'));
    for (RaisedSpan &span : passage.raised) {
        span.at += reference.size() + 1;
    }
    return passage;
}

std::optional<TextBlock> layerText(const Layer &layer,
    const QRectF &box,
    std::int32_t frameHeight,
    const QRect &canvas,
    const RaisedNumbers &numbers)
{
    if (layer.kind == LayerKind::Subtitle && layer.text.trimmed().isEmpty()) {
        return std::nullopt;
    }
    const QRectF area = textArea(box, 12, 8);
    TextBlock block { canvas,
        layer.opacity,
        box,
        layer.background,
        layerFont(layer, frameHeight),
        layer.kind == LayerKind::Verse ? verseDraws(layer, area, frameHeight, numbers)
                                       : layerDraws(layer, area, frameHeight) };
    for (TextDraw &draw : block.draws) {
        draw.spacing = layer.spacing;
    }
    return block;
}

TextBlock titleBand(const QString &title, FrameSize canvas)
{
    // Whole pixels, cut off.
    const QRect band(canvas.width / 25,
        canvas.height * 78 / 100,
        canvas.width * 23 / 25,
        canvas.height * 15 / 100);
    return { QRect(0, 0, canvas.width, canvas.height),
        1,
        band,
        bandColor,
        overlayFont(canvas.width / 45),
        { { title.left(500),
            textArea(band, 24, 8),
            align::left | align::verticalCentre,
            { { QPointF(), Qt::white } },
            false } } };
}

TextBlock automaticCaption(const QString &caption, FrameSize canvas)
{
    const QRect area(canvas.width / 20,
        canvas.height / 8,
        canvas.width * 18 / 20,
        canvas.height * 3 / 4);
    return { QRect(0, 0, canvas.width, canvas.height),
        1,
        area,
        QColor(0, 0, 0, 0),
        overlayFont(canvas.height / 16),
        { { caption.left(maxAutomaticCaption),
            area,
            align::horizontalCentre | align::verticalCentre,
            { { QPointF(4, 4), outlineColor }, { QPointF(), Qt::white } },
            false } } };
}

} // namespace nimbara
