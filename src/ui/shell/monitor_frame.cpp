#include "ui/shell/monitor_frame.h"

#include <QPainter>

#include <algorithm>

namespace nimbara {

namespace {

QColor colorOf(Tally tally)
{
    switch (tally) {
    case Tally::Preview:
        return { 0x1c, 0x7a, 0x4d };
    case Tally::OnAir:
        return { 0xc2, 0x1f, 0x36 };
    case Tally::Black:
        break;
    }
    return { 0x3a, 0x42, 0x50 };
}

/// Beside colour, what tells them apart.
QString signOf(Tally tally)
{
    return tally == Tally::OnAir ? QStringLiteral("●  ") : QString();
}

} // namespace

MonitorFrame::MonitorFrame(QWidget *picture, QWidget *parent)
    : QWidget(parent)
    , m_picture(picture)
{
    picture->setParent(this);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(picture->minimumSize() + QSize(2 * border, 2 * border + stripHeight));
    picture->setMinimumSize(1, 1); // a tall picture may be narrower
}

void MonitorFrame::setAspect(double aspect)
{
    m_aspect = aspect;
    place();
}

void MonitorFrame::showTally(Tally tally, const QString &text)
{
    if (tally == m_tally && text == m_text) {
        return;
    }
    m_tally = tally;
    m_text = text;
    setToolTip(text);
    setAccessibleName(text);
    update();
}

QSizeF MonitorFrame::pictureSize(QSizeF frame, double aspect)
{
    const QSizeF room(std::max(frame.width() - 2 * border, 1.0),
        std::max(frame.height() - 2 * border - stripHeight, 1.0));
    return QSizeF(aspect, 1).scaled(room, Qt::KeepAspectRatio);
}

void MonitorFrame::place()
{
    const QSize size = pictureSize(this->size(), m_aspect).toSize();
    m_picture->setGeometry(QRect(QPoint((width() - size.width()) / 2, border), size));
    update();
}

void MonitorFrame::resizeEvent(QResizeEvent * /*event*/)
{
    place();
}

void MonitorFrame::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const QRect picture = m_picture->geometry();
    const QRect strip(picture.left() - border,
        picture.bottom() + 1,
        picture.width() + 2 * border,
        stripHeight + border);
    painter.fillRect(picture.adjusted(-border, -border, border, 0).united(strip), colorOf(m_tally));
    QFont bold = font();
    bold.setWeight(QFont::Bold);
    painter.setFont(bold);
    painter.setPen(Qt::white);
    const QRect room = strip.adjusted(2 * border, 0, -2 * border, 0);
    painter.drawText(room,
        Qt::AlignVCenter | Qt::AlignLeft,
        painter.fontMetrics().elidedText(signOf(m_tally) + m_text, Qt::ElideRight, room.width()));
}

} // namespace nimbara
