#include "ui/editor/color_button.h"

namespace nimbara {

ColorButton::ColorButton(const QColor &color, Ask ask, QWidget *parent)
    : QPushButton(QStringLiteral("■"), parent)
    , m_color(color)
    , m_ask(std::move(ask))
{
    setMinimumHeight(36);
    paintColor();
    connect(this, &QPushButton::clicked, this, [this] {
        if (const std::optional<QColor> chosen = m_ask(m_color)) {
            m_color = *chosen;
            paintColor();
            Q_EMIT colorChosen(m_color);
        }
    });
}

void ColorButton::paintColor()
{
    setStyleSheet(QStringLiteral("color: %1;").arg(m_color.name()));
}

} // namespace nimbara
