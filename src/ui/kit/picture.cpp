#include "ui/kit/picture.h"

#include <QPainter>

namespace nimbara {

Picture::Picture(QWidget *parent)
    : QWidget(parent)
{
    setMinimumSize(160, 90);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    // Every pixel is painted here, so the style's background would be work done twice.
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void Picture::setFrame(const QImage &frame)
{
    if (frame.cacheKey() == m_frame.cacheKey()) {
        return;
    }
    m_frame = frame;
    update();
}

void Picture::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (m_frame.isNull()) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    const QRectF target = fittedRect(m_frame.size(), rect());
    if (target != QRectF(rect())) {
        painter.fillRect(rect(), Qt::black);
    }
    m_framePainter.draw(painter, target, m_frame);
}

void Picture::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    onHidden();
}

QRectF fittedRect(const QSizeF &content, const QRectF &area)
{
    const QSizeF size = content.scaled(area.size(), Qt::KeepAspectRatio);
    return { area.x() + (area.width() - size.width()) / 2,
        area.y() + (area.height() - size.height()) / 2,
        size.width(),
        size.height() };
}

} // namespace nimbara
