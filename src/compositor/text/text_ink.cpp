#include "compositor/text/text_ink.h"

#include <cmath>

namespace nimbara {

namespace {

QPoint wholePart(QPointF offset)
{
    return { static_cast<int>(std::floor(offset.x())), static_cast<int>(std::floor(offset.y())) };
}

QPointF fractionOf(QPointF offset)
{
    return offset - wholePart(offset);
}

/// What a pass may show of a mask on the canvas, wherever the passes move it.
QRect needed(const TextDraw &draw, const QRect &canvas)
{
    QRect rect;
    for (const TextPass &pass : draw.passes) {
        rect |= canvas.translated(-wholePart(pass.offset));
    }
    return rect;
}

} // namespace

TextInk::TextInk(const TextDraw &draw,
    const QFont &font,
    const QRectF &area,
    const QRect &canvas,
    GlyphInk &glyphs)
    : m_draw(&draw)
    , m_area(area)
    , m_laid(
          layText(draw.text, font, area, { draw.alignment, draw.raised, draw.part, draw.spacing }))
{
    for (const QGlyphRun &run : m_laid.runs) {
        (glyphs.isColoured(run.rawFont()) ? m_coloured : m_plain).push_back(run);
    }
    const QRect rect = lineRect() & needed(draw, canvas);
    if (m_plain.empty() || rect.isEmpty()) {
        return;
    }
    for (const TextPass &pass : draw.passes) {
        if (mask(fractionOf(pass.offset)) == nullptr) {
            makeMask(fractionOf(pass.offset), rect, glyphs);
        }
    }
}

QRect TextInk::lineRect() const
{
    // Slanted letters and stacked marks reach beyond their lines, by less than one line.
    const double reach = m_laid.fontHeight;
    return m_laid.lines.adjusted(-reach, -reach, reach, reach).toAlignedRect();
}

const Coverage *TextInk::mask(QPointF fraction) const
{
    for (const Mask &known : m_masks) {
        if (known.fraction == fraction) {
            return &known.coverage;
        }
    }
    return nullptr;
}

void TextInk::makeMask(QPointF fraction, const QRect &rect, GlyphInk &glyphs)
{
    // The painter rounds its clip to whole pixels.
    const QRect clip = m_area.translated(fraction).toRect();
    Mask &made
        = m_masks.emplace_back(Mask { fraction, Coverage(m_laid.clipped ? rect & clip : rect) });
    for (const QGlyphRun &run : m_plain) {
        glyphs.add(made.coverage, run, fraction);
    }
}

QRect TextInk::reach() const
{
    QRect rect;
    for (const TextPass &pass : m_draw->passes) {
        const QPoint whole = wholePart(pass.offset);
        if (const Coverage *coverage = mask(fractionOf(pass.offset))) {
            rect |= coverage->inkRect().translated(whole);
        }
        if (!m_coloured.empty()) {
            rect |= lineRect().translated(whole).adjusted(0, 0, 1, 1);
        }
    }
    return rect;
}

Stamp TextInk::stamp(const TextPass &pass, double opacity) const
{
    return { mask(fractionOf(pass.offset)),
        wholePart(pass.offset),
        double { pass.color.alphaF() } * opacity };
}

void TextInk::drawColoured(QPainter &painter, const TextPass &pass) const
{
    painter.setPen(pass.color);
    if (m_laid.clipped) {
        painter.setClipRect(m_area.translated(pass.offset));
    }
    for (const QGlyphRun &run : m_coloured) {
        painter.drawGlyphRun(pass.offset, run);
    }
}

} // namespace nimbara
