#include "ui/kit/typing.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace nimbara {

namespace {

constexpr const char *holds = "holdsTyping";
constexpr const char *keepsPages = "keepsPageKeys";

} // namespace

bool isTypedInto(const QWidget *widget)
{
    const auto *list = qobject_cast<const QComboBox *>(widget);
    return (widget != nullptr && holdsTyping(*widget))
        || qobject_cast<const QLineEdit *>(widget) != nullptr
        || qobject_cast<const QPlainTextEdit *>(widget) != nullptr
        || qobject_cast<const QTextEdit *>(widget) != nullptr
        || qobject_cast<const QAbstractSpinBox *>(widget) != nullptr
        || (list != nullptr && list->isEditable());
}

void holdTyping(QWidget &widget)
{
    widget.setProperty(holds, true);
    widget.setFocus();
}

bool holdsTyping(const QWidget &widget)
{
    return widget.property(holds).toBool();
}

void keepPageKeys(QWidget &widget, bool on)
{
    widget.setProperty(keepsPages, on);
}

bool keepsPageKeys(const QWidget &widget)
{
    return widget.property(keepsPages).toBool();
}

bool isTyping()
{
    return isTypedInto(QApplication::focusWidget());
}

} // namespace nimbara
