#include "compositor/paint_text.h"

#include "compositor/text_layout.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <deque>

namespace nimbara {

namespace {

/// A text laid out, and the pixels that its ink may reach without any offset.
struct LaidDraw {
    const TextDraw *draw = nullptr;
    QRectF area;
    LaidText laid;
    QRect ink;
};

QPoint wholePart(QPointF offset)
{
    return { static_cast<int>(std::floor(offset.x())), static_cast<int>(std::floor(offset.y())) };
}

QRect inkOf(const LaidText &laid, const QRectF &area)
{
    if (laid.runs.isEmpty()) {
        return {};
    }
    // Slanted letters and stacked marks reach beyond their lines, by less than one line.
    const double reach = laid.fontHeight;
    const QRectF ink = laid.lines.adjusted(-reach, -reach, reach, reach);
    return (laid.clipped ? ink.intersected(area) : ink).toAlignedRect().adjusted(-1, -1, 1, 1);
}

std::vector<LaidDraw> layDraws(const TextBlock &block)
{
    std::vector<LaidDraw> result;
    const TextDraw *before = nullptr;
    for (const TextDraw &draw : block.draws) {
        QRectF area = draw.area;
        if (draw.below && before != nullptr) {
            area.setTop(area.top() + wrappedHeight(before->text, block.font, before->area.width()));
        }
        LaidText laid = layText(draw.text, block.font, area, draw.alignment);
        const QRect ink = inkOf(laid, area);
        result.push_back({ &draw, area, std::move(laid), ink });
        before = &draw;
    }
    return result;
}

/// The part of the canvas that the block may touch.
QRect reachOf(const TextBlock &block, const std::vector<LaidDraw> &draws)
{
    QRect rect = block.background.alpha() > 0 ? block.box.toAlignedRect() : QRect();
    for (const LaidDraw &draw : draws) {
        for (const TextPass &pass : draw.draw->passes) {
            rect |= draw.ink.translated(wholePart(pass.offset)).adjusted(0, 0, 1, 1);
        }
    }
    return rect & block.canvas;
}

void startPainter(QPainter &painter, QPoint place)
{
    painter.translate(-place);
    painter.setRenderHint(QPainter::TextAntialiasing);
}

/// Paints one text into a sprite, pass by pass.
class DrawPainter {
public:
    DrawPainter(Sprite &sprite, const LaidDraw &draw, double opacity, GlyphOutlines &outlines)
        : m_sprite(sprite)
        , m_draw(draw)
        , m_opacity(opacity)
        , m_outlines(outlines)
    {
        for (const QGlyphRun &run : draw.laid.runs) {
            (outlines.isColoured(run.rawFont()) ? m_coloured : m_plain).push_back(run);
        }
    }

    void paint()
    {
        const auto &passes = m_draw.draw->passes;
        for (auto first = passes.begin(); first != passes.end();) {
            // Passes of one colour are blended as one.
            const auto last = std::find_if(first, passes.end(), [&](const TextPass &pass) {
                return pass.color.rgb() != first->color.rgb();
            });
            paintPlain(first, last);
            paintColoured(first, last);
            first = last;
        }
    }

private:
    using Pass = std::vector<TextPass>::const_iterator;

    void paintPlain(Pass first, Pass last)
    {
        if (m_plain.empty()) {
            return;
        }
        std::vector<Stamp> stamps;
        for (Pass pass = first; pass != last; ++pass) {
            const QPoint whole = wholePart(pass->offset);
            stamps.push_back({ &coverageAt(pass->offset - whole),
                whole,
                double { pass->color.alphaF() } * m_opacity });
        }
        blendStamps(m_sprite, first->color.rgb(), stamps);
    }

    /// The mask of the text moved by a fraction of a pixel, made once.
    const Coverage &coverageAt(QPointF fraction)
    {
        for (const auto &[known, coverage] : m_masks) {
            if (known == fraction) {
                return coverage;
            }
        }
        return m_masks.emplace_back(fraction, paintedCoverage(fraction)).second;
    }

    /// What a pass may show of the mask on the sprite, wherever it moves it.
    [[nodiscard]] QRect maskRect() const
    {
        QRect needed;
        for (const TextPass &pass : m_draw.draw->passes) {
            needed |= m_sprite.rect().translated(-wholePart(pass.offset));
        }
        return needed & m_draw.ink.adjusted(0, 0, 1, 1);
    }

    Coverage paintedCoverage(QPointF fraction)
    {
        const QRect rect = maskRect();
        if (rect.isEmpty()) {
            return {};
        }
        QImage ink(rect.size(), QImage::Format_ARGB32_Premultiplied);
        ink.fill(Qt::transparent);
        QPainter painter(&ink);
        startPainter(painter, rect.topLeft());
        painter.setPen(Qt::white);
        clip(painter, fraction);
        for (const QGlyphRun &run : m_plain) {
            drawGlyphs(painter, run, fraction, m_outlines);
        }
        painter.end();
        return { ink, rect.topLeft() };
    }

    /// Glyphs that bring their own colours are drawn as they are, pass by pass.
    void paintColoured(Pass first, Pass last)
    {
        for (Pass pass = first; pass != last && !m_coloured.empty(); ++pass) {
            QPainter painter(&m_sprite.image);
            startPainter(painter, m_sprite.place);
            painter.setOpacity(m_opacity);
            painter.setPen(pass->color);
            clip(painter, pass->offset);
            for (const QGlyphRun &run : m_coloured) {
                painter.drawGlyphRun(pass->offset, run);
            }
        }
    }

    void clip(QPainter &painter, QPointF offset) const
    {
        if (m_draw.laid.clipped) {
            painter.setClipRect(m_draw.area.translated(offset));
        }
    }

    Sprite &m_sprite;
    const LaidDraw &m_draw;
    double m_opacity;
    GlyphOutlines &m_outlines;
    std::vector<QGlyphRun> m_plain;
    std::vector<QGlyphRun> m_coloured;
    std::deque<std::pair<QPointF, Coverage>> m_masks; ///< stamps point into it
};

} // namespace

Sprite paintText(const TextBlock &block, GlyphOutlines &outlines)
{
    const std::vector<LaidDraw> draws = layDraws(block);
    const QRect rect = reachOf(block, draws);
    if (rect.isEmpty()) {
        return {};
    }
    Sprite sprite { QImage(rect.size(), QImage::Format_RGBA8888_Premultiplied), rect.topLeft() };
    sprite.image.fill(Qt::transparent);
    if (block.background.alpha() > 0) {
        QPainter painter(&sprite.image);
        startPainter(painter, sprite.place);
        painter.setOpacity(block.opacity);
        painter.fillRect(block.box, block.background);
    }
    for (const LaidDraw &draw : draws) {
        DrawPainter(sprite, draw, block.opacity, outlines).paint();
    }
    return sprite;
}

} // namespace nimbara
