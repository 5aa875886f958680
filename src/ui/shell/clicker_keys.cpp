#include "ui/shell/clicker_keys.h"

#include "ui/editor/canvas.h"
#include "ui/kit/typing.h"

#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTabBar>

#include <array>

namespace nimbara {

namespace {

bool isArrow(int key)
{
    return key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down;
}

bool usesArrows(const QWidget &widget)
{
    const auto *canvas = qobject_cast<const Canvas *>(&widget);
    return qobject_cast<const QAbstractItemView *>(&widget) != nullptr
        || qobject_cast<const QAbstractSlider *>(&widget) != nullptr
        || qobject_cast<const QComboBox *>(&widget) != nullptr
        || qobject_cast<const QTabBar *>(&widget) != nullptr
        || (canvas != nullptr && canvas->canNudge());
}

/// A letter looks for an entry there. In the window's own lists a clicker goes first.
bool usesLetters(const QWidget &widget)
{
    return qobject_cast<const QComboBox *>(&widget) != nullptr
        || (qobject_cast<const QAbstractItemView *>(&widget) != nullptr
            && qobject_cast<const QDialog *>(widget.window()) != nullptr);
}

bool isLetter(const QKeyEvent &key)
{
    return !key.text().isEmpty() && key.text().front().isPrint();
}

/// The line of a text field has no page to turn.
bool turnsPages(int key)
{
    return key == Qt::Key_PageUp || key == Qt::Key_PageDown;
}

/// The widget writes with the key, or moves in what is written.
bool isTypedWith(const QWidget &widget, const QKeyEvent &key)
{
    if (holdsTyping(widget)) {
        return isLetter(key);
    }
    const bool isLine
        = qobject_cast<const QLineEdit *>(&widget) != nullptr && !keepsPageKeys(widget);
    return isTypedInto(&widget) && !(isLine && turnsPages(key.key()));
}

/// The key goes to this widget first.
bool isReceiver(const QWidget &widget)
{
    const QWidget *focused = widget.window()->focusWidget();
    return &widget == (focused != nullptr ? focused : widget.window());
}

} // namespace

ClickerKeys::ClickerKeys(const KeyMap &keys, QObject *parent)
    : QObject(parent)
    , m_keys(keys)
{
    qApp->installEventFilter(this);
}

bool ClickerKeys::eventFilter(QObject *watched, QEvent *event)
{
    const bool isKey
        = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!m_isListening || !isKey || !watched->isWidgetType()) {
        return false;
    }
    const auto *widget = static_cast<QWidget *>(watched);
    const bool isTaken = isReceiver(*widget) && take(*widget, *static_cast<QKeyEvent *>(event));
    if (isTaken) {
        event->accept(); // no shortcut of the window then
    }
    return isTaken;
}

/// A key that is held down is one press. What only asks for the key is told that it is taken.
bool ClickerKeys::take(const QWidget &widget, const QKeyEvent &key)
{
    if (isTypedWith(widget, key) || QApplication::activePopupWidget() != nullptr
        || (isArrow(key.key()) && usesArrows(widget)) || (isLetter(key) && usesLetters(widget))) {
        return false;
    }
    const QKeySequence pressed = sequenceOf(key);
    for (const KeyAction action :
        std::array { KeyAction::ClickerOn, KeyAction::ClickerBack, KeyAction::ClickerBlack }) {
        if (m_keys.has(action, pressed)) {
            if (key.type() == QEvent::KeyPress && !key.isAutoRepeat()) {
                Q_EMIT this->pressed(action);
            }
            return true;
        }
    }
    return false;
}

} // namespace nimbara
