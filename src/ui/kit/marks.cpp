#include "ui/kit/marks.h"

#include <QPainter>
#include <QPixmap>

namespace nimbara {

namespace {

constexpr int side = 14; ///< pixels of a mark in a list or a tab
const QColor red(0xe0, 0x3c, 0x4f);

} // namespace

QIcon alarmMark()
{
    QPixmap mark(side, side);
    mark.fill(red);
    QPainter painter(&mark);
    painter.setPen(Qt::white);
    painter.drawText(mark.rect(), Qt::AlignCenter, QStringLiteral("!"));
    return mark;
}

QIcon onAirMark()
{
    QPixmap mark(side, side);
    mark.fill(Qt::transparent);
    QPainter painter(&mark);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, 1.5));
    painter.setBrush(red);
    painter.drawEllipse(QRectF(1, 1, side - 2, side - 2));
    return mark;
}

QIcon lockMark(bool locked)
{
    QPixmap mark(side, side);
    mark.fill(Qt::transparent);
    const QColor color = locked ? QColor(0xff, 0xd1, 0x66) : QColor(0x8f, 0xa6, 0xbf);
    QPainter painter(&mark);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1.6));
    painter.drawArc(QRectF(locked ? 4 : 7.5, 1.5, 6, 9), 0, 180 * 16);
    painter.setBrush(locked ? QBrush(color) : QBrush(Qt::NoBrush));
    painter.drawRect(QRectF(2.5, 6.5, 8.5, 6));
    return mark;
}

QIcon programIcon(bool streaming, bool recording)
{
    QPixmap icon(QStringLiteral(":/logo.png"));
    if (icon.isNull()) {
        return {};
    }
    const double size = icon.width() * 0.42;
    const double top = icon.height() - size;
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, icon.width() * 0.04));
    painter.setBrush(red);
    if (streaming) {
        painter.drawEllipse(QRectF(icon.width() - size, top, size, size).adjusted(2, 2, -2, -2));
    }
    if (recording) {
        painter.drawRect(QRectF(0, top, size, size).adjusted(2, 2, -2, -2));
    }
    return icon;
}

} // namespace nimbara
