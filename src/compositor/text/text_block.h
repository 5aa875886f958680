#pragma once

#include "compositor/text/text_layout.h"
#include "document/layer.h"
#include "signal/frame.h"

#include <QColor>
#include <QFont>
#include <QRect>
#include <QRectF>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// What outlines and shadows of texts are drawn in.
inline const QColor outlineColor(0, 0, 0, 200);

/// One drawing of a text: its area moved, in one colour.
struct TextPass {
    QPointF offset;
    QColor color;
    bool operator==(const TextPass &) const = default;
};

/// One text with its passes, first to last.
struct TextDraw {
    QString text;
    QRectF area;
    std::int32_t alignment = 0; ///< alignment bits of a layer
    std::vector<TextPass> passes;
    bool below = false; ///< the area starts below the wrapped text before it
    std::vector<RaisedSpan> raised {};
    TextPart part = TextPart::Whole; ///< what the passes draw
    std::int32_t spacing = 100; ///< of lines, in percent of the font's
    bool operator==(const TextDraw &) const = default;
};

/// Everything that decides the pixels of a piece of text on a canvas: a box and the texts on it. A
/// plain value; equal blocks look the same.
struct TextBlock {
    QRect canvas; ///< what lies outside is not painted
    double opacity = 1; ///< of each drawing, 0..1
    QRectF box;
    QColor background; ///< fills the box; alpha 0: no box
    QFont font;
    std::vector<TextDraw> draws;
    bool operator==(const TextBlock &) const = default;
};

/// The raised numbers in a verse layer's texts.
struct RaisedNumbers {
    std::vector<RaisedSpan> first;
    std::vector<RaisedSpan> second;
    bool operator==(const RaisedNumbers &) const = default;
};

/// The text of a text, verse, subtitle or clock layer; none when nothing of it is drawn. `box` in
/// canvas pixels; `frameHeight`: the lines of the output frame, which scale the text. A verse
/// layer's second text stands beside the first.
std::optional<TextBlock> layerText(const Layer &layer,
    const QRectF &box,
    std::int32_t frameHeight,
    const QRect &canvas,
    const RaisedNumbers &numbers = {});

/// A passage with its reference where that belongs (`reference_place`), and what is raised in it.
struct PlacedText {
    QString text;
    std::vector<RaisedSpan> raised;
};
PlacedText placed(PlacedText passage, const QString &reference, std::int32_t place);

/// The lower third of the streams: the band and the first 500 characters of the title.
TextBlock titleBand(const QString &title, FrameSize canvas);

/// What the automatic caption shows of a text, in characters.
constexpr qsizetype maxAutomaticCaption = 700;

/// The caption of hall scenes without a subtitle layer.
TextBlock automaticCaption(const QString &caption, FrameSize canvas);

} // namespace nimbara
