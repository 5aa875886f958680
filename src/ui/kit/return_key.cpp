#include "ui/kit/return_key.h"

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>

namespace nimbara {

namespace {

void press(QAbstractButton &button)
{
    auto *push = qobject_cast<QPushButton *>(&button);
    if (push != nullptr && push->menu() != nullptr) {
        push->menu()->setActiveAction(push->menu()->actions().value(0));
        push->showMenu();
    } else {
        button.click();
    }
}

bool toggleCheck(const QListWidget &list)
{
    QListWidgetItem *item = list.currentItem();
    if (item == nullptr || !item->flags().testFlag(Qt::ItemIsUserCheckable)) {
        return false;
    }
    item->setCheckState(item->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    return true;
}

/// False when Return means nothing to the widget.
bool activate(QWidget &focused)
{
    if (auto *button = qobject_cast<QAbstractButton *>(&focused)) {
        press(*button);
        return true;
    }
    if (auto *choices = qobject_cast<QComboBox *>(&focused);
        choices != nullptr && !choices->isEditable()) {
        choices->showPopup();
        return true;
    }
    const auto *list = qobject_cast<QListWidget *>(&focused);
    return list != nullptr && toggleCheck(*list);
}

bool isReturn(const QKeyEvent &key)
{
    return (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)
        && (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && !key.isAutoRepeat();
}

} // namespace

ReturnKey::ReturnKey(QWidget &window)
    : m_window(window)
{
    qApp->installEventFilter(this);
}

bool ReturnKey::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !isReturn(*static_cast<QKeyEvent *>(event))) {
        return false;
    }
    auto *widget = qobject_cast<QWidget *>(watched);
    return widget != nullptr && widget->hasFocus() && widget->isEnabled()
        && widget->window() == &m_window && activate(*widget);
}

} // namespace nimbara
