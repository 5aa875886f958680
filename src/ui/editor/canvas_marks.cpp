#include "ui/editor/canvas_marks.h"

#include <QPainter>

#include <cmath>

namespace nimbara {

namespace {

constexpr double handleDiameter = 12;
constexpr double tick = 4; ///< pixels, half the mark at the end of a distance
const QColor selectionColor(0x65, 0xb0, 0xed);
const QColor guideColor(0xff, 0x6a, 0xd5);
const QColor bandFill(0x65, 0xb0, 0xed, 50);

void paintHandles(QPainter &painter, const QRectF &rect)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(selectionColor);
    for (const QPointF &corner : cornersOf(rect)) {
        painter.drawEllipse(corner, handleDiameter / 2, handleDiameter / 2);
    }
}

QPointF pointOf(const SnapGuide &guide, double along, const QRectF &frame)
{
    const double x = guide.upright ? guide.at : along;
    const double y = guide.upright ? along : guide.at;
    return frame.topLeft() + QPointF(x * frame.width(), y * frame.height());
}

} // namespace

void paintOutline(QPainter &painter, const QRectF &rect, bool isMovable, bool isAlone)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(selectionColor, 2, isMovable ? Qt::SolidLine : Qt::DashLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    if (isMovable && isAlone) {
        paintHandles(painter, rect);
    }
}

void paintGroup(QPainter &painter, const QRectF &rect)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, 1, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    paintHandles(painter, rect);
}

void paintBand(QPainter &painter, const QRectF &band)
{
    painter.setPen(QPen(selectionColor, 1, Qt::DashLine));
    painter.setBrush(bandFill);
    painter.drawRect(band);
}

void paintGuides(QPainter &painter, const QRectF &frame, const std::vector<SnapGuide> &guides)
{
    painter.setPen(QPen(guideColor, 1));
    for (const SnapGuide &guide : guides) {
        const QPointF from = pointOf(guide, guide.from, frame);
        const QPointF to = pointOf(guide, guide.to, frame);
        painter.drawLine(from, to);
        if (guide.isGap) {
            const QPointF across = guide.upright ? QPointF(tick, 0) : QPointF(0, tick);
            painter.drawLine(from - across, from + across);
            painter.drawLine(to - across, to + across);
        }
    }
}

void paintZoom(QPainter &painter, const QRectF &widget, double zoom)
{
    const QString text = QString::number(std::lround(zoom * 100)) + QStringLiteral(" %");
    QRectF room(QPointF(), QSizeF(painter.fontMetrics().size(0, text)) + QSizeF(12, 6));
    room.moveBottomRight(widget.bottomRight() - QPointF(6, 6));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 170));
    painter.drawRoundedRect(room, 4, 4);
    painter.setPen(Qt::white);
    painter.drawText(room, Qt::AlignCenter, text);
}

} // namespace nimbara
