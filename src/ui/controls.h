#pragma once

#include <QComboBox>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace nimbara {

/// A push button of the window's size: at least 36 pixels high and as wide as its text wants.
/// `spanish` passes through the text table; `name` is the object name.
QPushButton *makeButton(const char *spanish, const char *name, QWidget *parent = nullptr);

/// Gives a widget its object name and, translated, what a screen reader calls it.
template <typename Widget>
Widget *named(Widget *widget, const char *name, const QString &accessibleName = {})
{
    widget->setObjectName(QString::fromLatin1(name));
    if (!accessibleName.isEmpty()) {
        widget->setAccessibleName(accessibleName);
    }
    return widget;
}

/// Fills a list anew without its change signal, keeping the current row where it still exists.
void refill(QComboBox *list, const QStringList &texts, int current);

} // namespace nimbara
