#include "compositor/text/paint_text.h"

#include "compositor/text/text_ink.h"

#include <QPainter>

#include <algorithm>

namespace nimbara {

namespace {

std::vector<TextInk> inkOf(const TextBlock &block, GlyphInk &glyphs)
{
    std::vector<TextInk> inks;
    const TextDraw *before = nullptr;
    for (const TextDraw &draw : block.draws) {
        QRectF area = draw.area;
        if (draw.below && before != nullptr) {
            area.setTop(area.top()
                + wrappedHeight(before->text,
                    block.font,
                    before->area.width(),
                    before->raised,
                    before->spacing)
                + extraLeading(block.font, draw.spacing));
        }
        inks.emplace_back(draw, block.font, area, block.canvas, glyphs);
        before = &draw;
    }
    return inks;
}

/// The part of the canvas that the block touches.
QRect reachOf(const TextBlock &block, const std::vector<TextInk> &inks)
{
    QRect rect = block.background.alpha() > 0 ? block.box.toAlignedRect() : QRect();
    for (const TextInk &ink : inks) {
        rect |= ink.reach();
    }
    return rect & block.canvas;
}

void startPainter(QPainter &painter, const Sprite &sprite)
{
    painter.translate(-sprite.place);
    painter.setRenderHint(QPainter::TextAntialiasing);
}

void paintBackground(Sprite &sprite, const TextBlock &block)
{
    QPainter painter(&sprite.image);
    startPainter(painter, sprite);
    painter.setCompositionMode(QPainter::CompositionMode_Source); // onto nothing, and faster
    QColor background = block.background;
    background.setAlphaF(background.alphaF() * static_cast<float>(block.opacity));
    painter.fillRect(block.box, background);
}

/// One text, pass by pass; passes of one colour are blended as one.
void paintInk(Sprite &sprite, const TextInk &ink, double opacity)
{
    const auto &passes = ink.draw().passes;
    for (auto first = passes.begin(); first != passes.end();) {
        const auto last = std::find_if(first, passes.end(), [&](const TextPass &pass) {
            return pass.color.rgb() != first->color.rgb();
        });
        if (ink.hasInk()) {
            std::vector<Stamp> stamps;
            std::transform(first, last, std::back_inserter(stamps), [&](const TextPass &pass) {
                return ink.stamp(pass, opacity);
            });
            blendStamps(sprite, first->color.rgb(), stamps);
        }
        for (auto pass = first; pass != last && ink.hasColoured(); ++pass) {
            QPainter painter(&sprite.image);
            startPainter(painter, sprite);
            painter.setOpacity(opacity);
            ink.drawColoured(painter, *pass);
        }
        first = last;
    }
}

} // namespace

Sprite paintText(const TextBlock &block, GlyphInk &glyphs)
{
    const std::vector<TextInk> inks = inkOf(block, glyphs);
    const QRect rect = reachOf(block, inks);
    if (rect.isEmpty()) {
        return {};
    }
    Sprite sprite { QImage(rect.size(), QImage::Format_RGBA8888_Premultiplied), rect.topLeft() };
    sprite.image.fill(Qt::transparent);
    if (block.background.alpha() > 0) {
        paintBackground(sprite, block);
    }
    for (const TextInk &ink : inks) {
        paintInk(sprite, ink, block.opacity);
    }
    sprite.image.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    return sprite;
}

} // namespace nimbara
