#pragma once

#include "compositor/text/glyph_ink.h"
#include "compositor/text/text_block.h"
#include "compositor/text/text_layout.h"

#include <deque>
#include <vector>

namespace nimbara {

/// One text of a block, laid out and made into masks: what its passes blend.
class TextInk {
public:
    /// `draw` must outlive the ink. `area`: where the text goes without any offset.
    TextInk(const TextDraw &draw,
        const QFont &font,
        const QRectF &area,
        const QRect &canvas,
        GlyphInk &glyphs);

    [[nodiscard]] const TextDraw &draw() const { return *m_draw; }

    /// The part of the canvas that the passes reach.
    [[nodiscard]] QRect reach() const;

    /// The pass as a use of its mask, with the colour's alpha; the stamp lives as long as the ink.
    /// Without ink when the text has none but coloured glyphs.
    [[nodiscard]] Stamp stamp(const TextPass &pass, double opacity) const;
    [[nodiscard]] bool hasInk() const { return !m_masks.empty(); }

    /// Draws the glyphs that bring their own colours, moved by the pass. The painter draws on the
    /// canvas in its pixels and has the pass's opacity.
    void drawColoured(QPainter &painter, const TextPass &pass) const;
    [[nodiscard]] bool hasColoured() const { return !m_coloured.empty(); }

private:
    struct Mask {
        QPointF fraction; ///< the part of an offset below one pixel
        Coverage coverage;
    };
    [[nodiscard]] QRect lineRect() const;
    [[nodiscard]] const Coverage *mask(QPointF fraction) const;
    void makeMask(QPointF fraction, const QRect &rect, GlyphInk &glyphs);

    const TextDraw *m_draw;
    QRectF m_area;
    LaidText m_laid;
    std::vector<QGlyphRun> m_plain;
    std::vector<QGlyphRun> m_coloured;
    std::deque<Mask> m_masks; ///< one for each fraction among the passes
};

} // namespace nimbara
