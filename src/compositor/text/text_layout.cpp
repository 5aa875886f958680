#include "compositor/text/text_layout.h"

#include "document/layer.h"

#include <QFontMetricsF>
#include <QImage>
#include <QTextLayout>
#include <QTextOption>

#include <cmath>
#include <limits>

namespace nimbara {

namespace {

constexpr double raisedSize = 0.65; ///< of the font's
constexpr double endless = std::numeric_limits<double>::infinity();

/// The font as a painter on a canvas would use it: points become pixels.
QFont canvasFont(const QFont &font)
{
    static const QImage canvas(1, 1, QImage::Format_RGBX8888);
    return { font, &canvas };
}

/// The text as the painter lays it out: line breaks separate lines, other control characters
/// are blanks, and 0x9C ends it (what follows would be a shorter variant of the text).
QString paintable(QString text)
{
    text.truncate(text.indexOf(QChar(0x9c)) < 0 ? text.size() : text.indexOf(QChar(0x9c)));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QChar(QChar::LineSeparator));
    return text;
}

QFont raisedFont(const QFont &font)
{
    QFont small = font;
    if (font.pixelSize() > 0) {
        small.setPixelSize(std::max(static_cast<int>(font.pixelSize() * raisedSize), 4));
    } else {
        small.setPointSizeF(font.pointSizeF() * raisedSize);
    }
    return small;
}

void setRaised(QTextLayout &layout, const std::vector<RaisedSpan> &raised)
{
    QList<QTextLayout::FormatRange> formats;
    for (const RaisedSpan &span : raised) {
        QTextLayout::FormatRange range;
        range.start = static_cast<int>(span.at);
        range.length = static_cast<int>(span.length);
        range.format.setFont(raisedFont(layout.font()));
        formats << range;
    }
    if (!formats.isEmpty()) {
        layout.setFormats(formats);
    }
}

QList<QGlyphRun> runsOf(const QTextLayout &layout, qsizetype from, qsizetype end)
{
    return end > from ? layout.glyphRuns(static_cast<int>(from), static_cast<int>(end - from))
                      : QList<QGlyphRun>();
}

/// The glyphs of the part; raised ones as high as capitals.
QList<QGlyphRun> runsOf(const QTextLayout &layout, const TextForm &form)
{
    if (form.raised.empty()) {
        return layout.glyphRuns();
    }
    const double rise = QFontMetricsF(layout.font()).capHeight()
        - QFontMetricsF(raisedFont(layout.font())).capHeight();
    QList<QGlyphRun> runs;
    qsizetype from = 0;
    for (const RaisedSpan &span : form.raised) {
        if (form.part != TextPart::Raised) {
            runs += runsOf(layout, from, span.at);
        }
        from = span.at + span.length;
        for (QGlyphRun &run : runsOf(layout, span.at, from)) {
            QList<QPointF> places = run.positions();
            for (QPointF &place : places) {
                place.ry() -= rise;
            }
            run.setPositions(places);
            if (form.part != TextPart::Words) {
                runs << run;
            }
        }
    }
    return form.part == TextPart::Raised ? runs : runs + runsOf(layout, from, layout.text().size());
}

struct Extent {
    double width = 0;
    double height = 0;
};

/// Breaks the lines at `width` and stacks them on whole pixels from 0, until the first one that
/// reaches `height`.
Extent breakLines(QTextLayout &layout, double leading, double width, double height)
{
    Extent extent { 0, -leading };
    layout.beginLayout();
    for (;;) {
        QTextLine line = layout.createLine();
        if (!line.isValid()) {
            break;
        }
        line.setLineWidth(width);
        extent.height = std::ceil(extent.height + leading);
        line.setPosition({ 0, extent.height });
        extent.height += line.ascent() + line.descent();
        extent.width = std::max(extent.width, line.naturalTextWidth());
        if (extent.height >= height) {
            break;
        }
    }
    layout.endLayout();
    return extent;
}

void setOptions(QTextLayout &layout, std::int32_t alignment)
{
    QTextOption option;
    option.setTextDirection(Qt::LeftToRight);
    option.setAlignment((alignment & align::justify) != 0 ? Qt::AlignJustify : Qt::AlignLeft);
    layout.setTextOption(option);
    layout.setCacheEnabled(true);
}

/// The room before a line or block of `used` pixels in `room`. `alignment`: bits of one
/// direction, `end` and `centre` being two of them.
double leadIn(double room, double used, std::int32_t alignment, int end, int centre)
{
    if ((alignment & end) != 0) {
        return room - used;
    }
    return (alignment & centre) != 0 ? (room - used) / 2 : 0;
}

double topOf(const QRectF &area, double height, std::int32_t alignment)
{
    return leadIn(area.height(), height, alignment, align::bottom, align::verticalCentre);
}

double leftOf(const QRectF &area, double width, std::int32_t alignment)
{
    return leadIn(area.width(), width, alignment, align::right, align::horizontalCentre);
}

} // namespace

LaidText layText(const QString &text, const QFont &font, const QRectF &area, const TextForm &form)
{
    const std::int32_t alignment = form.alignment;
    LaidText laid;
    if (text.isEmpty() || area.isEmpty()) {
        return laid;
    }
    const QFont painted = canvasFont(font);
    QTextLayout layout(paintable(text), painted);
    setOptions(layout, alignment);
    setRaised(layout, form.raised);
    const QFontMetricsF metrics(painted);
    const Extent extent = breakLines(layout,
        metrics.leading() + extraLeading(painted, form.spacing),
        area.width(),
        area.height());
    const double top = topOf(area, extent.height, alignment);
    for (int index = 0; index < layout.lineCount(); ++index) {
        QTextLine line = layout.lineAt(index);
        line.setPosition({ area.x() + leftOf(area, line.horizontalAdvance(), alignment),
            area.y() + top + line.y() });
    }
    const double left = leftOf(area, extent.width, alignment);
    laid.runs = runsOf(layout, form);
    laid.bounds = { area.x() + left, area.y() + top, extent.width, extent.height };
    laid.clipped = !area.contains(laid.bounds);
    laid.lines = laid.bounds;
    if ((alignment & align::justify) != 0) {
        laid.lines.setLeft(std::min(laid.lines.left(), area.left()));
        laid.lines.setRight(std::max(laid.lines.right(), area.right()));
    }
    laid.fontHeight = metrics.height();
    return laid;
}

double wrappedHeight(const QString &text,
    const QFont &font,
    double width,
    const std::vector<RaisedSpan> &raised,
    std::int32_t spacing)
{
    if (text.isEmpty()) {
        return 0;
    }
    const QFont painted = canvasFont(font);
    QTextLayout layout(paintable(text), painted);
    setOptions(layout, align::left);
    setRaised(layout, raised);
    const double leading = QFontMetricsF(painted).leading() + extraLeading(painted, spacing);
    return breakLines(layout, leading, std::max(width, 0.0), endless).height;
}

double extraLeading(const QFont &font, std::int32_t spacing)
{
    return QFontMetricsF(canvasFont(font)).lineSpacing() * (spacing - 100) / 100;
}

} // namespace nimbara
