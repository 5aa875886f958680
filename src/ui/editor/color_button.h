#pragma once

#include <QColor>
#include <QPushButton>

namespace nimbara {

/// A push button that shows a colour. Who owns it asks for another one when it is clicked.
class ColorButton : public QPushButton {
    Q_OBJECT
public:
    explicit ColorButton(const QColor &color, QWidget *parent = nullptr);

    [[nodiscard]] const QColor &color() const { return m_color; }
    void showColor(const QColor &color);

private:
    QColor m_color;
};

} // namespace nimbara
