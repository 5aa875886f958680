#include "ui/captions/delay_curve.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t leastScaleMs = 4000; ///< an ordinary delay does not fill the curve

} // namespace

DelayCurve::DelayCurve(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(96, 20);
    setAccessibleName(nimbara_i18n::tr("Retraso de los últimos 5 minutos"));
    setToolTip(accessibleName());
}

void DelayCurve::setPoints(const QList<std::int64_t> &points)
{
    if (m_points != points) {
        m_points = points;
        update();
    }
}

void DelayCurve::setAmber(bool amber)
{
    if (m_isAmber != amber) {
        m_isAmber = amber;
        update();
    }
}

void DelayCurve::paintEvent(QPaintEvent * /*event*/)
{
    if (m_points.size() < 2) {
        return;
    }
    const std::int64_t most
        = std::max(leastScaleMs, *std::max_element(m_points.begin(), m_points.end()));
    QPainterPath path;
    bool broken = true;
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        if (m_points.at(i) < 0) {
            continue; // nothing was said: the line goes on
        }
        const QPointF at(1
                + static_cast<double>(i) * (width() - 2) / static_cast<double>(m_points.size() - 1),
            height() - 1
                - static_cast<double>(m_points.at(i)) * (height() - 2) / static_cast<double>(most));
        broken ? path.moveTo(at) : path.lineTo(at);
        broken = false;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(m_isAmber ? QColor(amberColour) : palette().color(QPalette::WindowText), 1.5));
    painter.drawPath(path);
}

} // namespace nimbara
