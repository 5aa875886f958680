#include "compositor/reference_painter.h"

#include <QPainter>

#include <algorithm>
#include <cstdlib>

namespace nimbara::testing {

namespace {

void outlined(QPainter &painter, const QRectF &area, int flags, const QString &text, double d)
{
    const QColor color = painter.pen().color();
    if (d > 0) {
        painter.setPen(QColor(0, 0, 0, 200));
        for (const QPointF by :
            { QPointF(d, d), { -d, d }, { d, -d }, { -d, -d }, { 0, 1.5 * d } }) {
            painter.drawText(area.translated(by), flags, text);
        }
    }
    painter.setPen(color);
    painter.drawText(area, flags, text);
}

} // namespace

void paintTextLayer(QImage &canvas, const Layer &layer, int frameHeight)
{
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter.setOpacity(layer.opacity);
    const QRectF box(layer.x * canvas.width(),
        layer.y * canvas.height(),
        layer.w * canvas.width(),
        layer.h * canvas.height());
    if (layer.background.alpha() >= 1) {
        painter.fillRect(box, layer.background);
    }
    QFont font(layer.font);
    font.setPixelSize(std::max(frameHeight * layer.size / 1080, 4));
    font.setWeight(layer.bold ? QFont::Bold : QFont::Normal);
    painter.setFont(font);
    const double d = layer.shadow ? std::max(frameHeight * layer.size / 19440, 2) : 0;
    QRectF area = box.adjusted(12, 8, -12, -8);
    int flags = layer.align | Qt::TextWordWrap;
    if (layer.kind == LayerKind::Subtitle) {
        flags = (layer.align & 15) | Qt::AlignTop | Qt::TextWordWrap;
    }
    if (layer.kind == LayerKind::Subtitle && !layer.reference.isEmpty()) {
        QColor dim = layer.color;
        dim.setAlphaF(dim.alphaF() * 0.55F);
        painter.setPen(dim);
        outlined(painter, area, flags, layer.text, d);
        const QRectF room(0, 0, area.width(), 1e6);
        area.setTop(area.top() + painter.boundingRect(room, flags, layer.text).height());
        painter.setPen(layer.color);
        outlined(painter, area, flags, layer.reference, d);
        return;
    }
    const bool verse = layer.kind == LayerKind::Verse && !layer.reference.isEmpty();
    painter.setPen(layer.color);
    outlined(painter,
        area,
        flags,
        verse ? layer.text + QLatin1Char('\n') + layer.reference : layer.text,
        d);
}

void paintTitleBand(QImage &canvas, const QString &title)
{
    const int width = canvas.width();
    const int height = canvas.height();
    const QRect band(width / 25, height * 78 / 100, width * 23 / 25, height * 15 / 100);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.fillRect(band, QColor(12, 48, 88, 235));
    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("Sans Serif"), std::max(width / 45, 16), QFont::Bold));
    painter.drawText(band.adjusted(24, 8, -24, -8),
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap,
        title.left(500));
}

void paintAutomaticCaption(QImage &canvas, const QString &caption)
{
    const int width = canvas.width();
    const int height = canvas.height();
    const QRect box(width / 20, height / 8, width * 18 / 20, height * 3 / 4);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setFont(QFont(QStringLiteral("Sans Serif"), std::max(height / 16, 16), QFont::Bold));
    const int flags = Qt::AlignCenter | Qt::TextWordWrap;
    painter.setPen(QColor(0, 0, 0, 200));
    painter.drawText(box.translated(4, 4), flags, caption.left(700));
    painter.setPen(Qt::white);
    painter.drawText(box, flags, caption.left(700));
}

QImage texturedCanvas(int width, int height)
{
    QImage canvas(width, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y) {
        uchar *row = canvas.scanLine(y);
        for (int x = 0; x < width; ++x) {
            *row++ = static_cast<uchar>(x / 8);
            *row++ = static_cast<uchar>(y / 5);
            *row++ = static_cast<uchar>((x + y) / 12);
            *row++ = 255;
        }
    }
    return canvas;
}

double meanDifference(const QImage &a, const QImage &b, const QRect &part)
{
    std::int64_t sum = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        const uchar *first = a.constScanLine(y);
        const uchar *second = b.constScanLine(y);
        for (int byte = part.left() * 4; byte < (part.right() + 1) * 4; ++byte) {
            if (byte % 4 != 3) { // colours, not alpha
                sum += std::abs(first[byte] - second[byte]);
            }
        }
    }
    return static_cast<double>(sum) / (3.0 * part.width() * part.height());
}

} // namespace nimbara::testing
