#include "ui/editor/color_button.h"

namespace nimbara {

ColorButton::ColorButton(const QColor &color, QWidget *parent)
    : QPushButton(QStringLiteral("■"), parent)
{
    setMinimumHeight(36);
    showColor(color);
}

void ColorButton::showColor(const QColor &color)
{
    if (color != m_color) {
        m_color = color;
        setStyleSheet(QStringLiteral("color: %1;").arg(color.name()));
    }
}

} // namespace nimbara
