#pragma once

#include <QColor>
#include <QPushButton>

#include <functional>
#include <optional>

namespace nimbara {

/// A push button that shows a colour and asks for another one when it is pressed.
class ColorButton : public QPushButton {
    Q_OBJECT
public:
    /// `ask` gets the current colour and gives the chosen one, or none.
    using Ask = std::function<std::optional<QColor>(const QColor &)>;

    ColorButton(const QColor &color, Ask ask, QWidget *parent = nullptr);

Q_SIGNALS:
    void colorChosen(const QColor &color);

private:
    void paintColor();

    QColor m_color;
    Ask m_ask;
};

} // namespace nimbara
