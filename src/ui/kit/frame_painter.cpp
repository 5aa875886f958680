#include "ui/kit/frame_painter.h"

#include <QPaintDevice>
#include <QPainter>

#include <cstdint>

namespace nimbara {

namespace {

/// From RGBA byte order to the native one, or back; in place when both are the same.
void exchangeRedAndBlue(const QImage &from, QImage &onto)
{
    const int width = onto.width();
    for (int y = 0; y < onto.height(); ++y) {
        const auto *source = reinterpret_cast<const std::uint32_t *>(from.constScanLine(y));
        auto *target = reinterpret_cast<std::uint32_t *>(onto.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const std::uint32_t pixel = source[x];
            target[x] = (pixel & 0xff00ff00U) | (pixel >> 16 & 0xffU) | (pixel & 0xffU) << 16;
        }
    }
}

void scale(const QImage &from, QImage &onto)
{
    QPainter painter(&onto);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(onto.rect(), from);
}

} // namespace

void FramePainter::draw(QPainter &painter, const QRectF &target, const QImage &frame)
{
    const double ratio = painter.device()->devicePixelRatioF();
    const QRect place = QRectF(target.topLeft() * ratio, target.size() * ratio).toRect();
    if (place.isEmpty()) {
        return;
    }
    if (m_pixels.size() != place.size()) {
        m_pixels = QImage(place.size(), QImage::Format_RGB32);
    }
    const QImage bytes = frame.convertToFormat(QImage::Format_RGBX8888);
    m_pixels.setDevicePixelRatio(1);
    if (bytes.size() == m_pixels.size()) {
        exchangeRedAndBlue(bytes, m_pixels);
    } else {
        scale(QImage(bytes.constBits(),
                  bytes.width(),
                  bytes.height(),
                  bytes.bytesPerLine(),
                  QImage::Format_RGB32),
            m_pixels);
        exchangeRedAndBlue(m_pixels, m_pixels);
    }
    m_pixels.setDevicePixelRatio(ratio);
    painter.drawImage(QPointF(place.topLeft()) / ratio, m_pixels);
}

} // namespace nimbara
