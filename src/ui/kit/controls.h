#pragma once

#include <QColor>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QWidget>

#include <initializer_list>

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

/// A field for a secret: its text is hidden. `spanish` is its placeholder and accessible name.
QLineEdit *makeKeyField(const char *name, const char *spanish);

/// Makes `text` the field's; one that it shows already leaves the cursor in its place.
void showText(QLineEdit *field, const QString &text);

/// A word-wrapped label: `text` as it stands, or `spanish` through the text table.
QLabel *makeNote(const QString &text);
QLabel *makeNote(const char *spanish);

/// The colour of what the operator should look at (0xRRGGBB).
constexpr QRgb amberColour = 0xffb300;
/// Gives a text that colour, or takes it away again.
void setAmber(QWidget &widget, bool amber);

/// A list of entries, each through the text table; `spanish` is its accessible name.
QComboBox *
makeList(std::initializer_list<const char *> entries, const char *name, const char *spanish);

/// Fills a list anew without its change signal, keeping the current row where it still exists.
void refill(QComboBox *list, const QStringList &texts, int current);

} // namespace nimbara
