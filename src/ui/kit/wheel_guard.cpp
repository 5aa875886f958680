#include "ui/kit/wheel_guard.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

namespace nimbara {

namespace {

/// The control whose value a turn of the wheel would change; null for anything else.
QWidget *valueControl(QObject *object)
{
    const bool holdsValue = qobject_cast<QComboBox *>(object) != nullptr
        || qobject_cast<QAbstractSpinBox *>(object) != nullptr
        || (qobject_cast<QAbstractSlider *>(object) != nullptr
            && qobject_cast<QScrollBar *>(object) == nullptr);
    return holdsValue ? static_cast<QWidget *>(object) : nullptr;
}

} // namespace

bool WheelGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel && event->type() != QEvent::Polish) {
        return false;
    }
    QWidget *control = valueControl(watched);
    if (control == nullptr) {
        return false;
    }
    if (event->type() == QEvent::Polish) {
        if (control->focusPolicy() == Qt::WheelFocus) {
            control->setFocusPolicy(Qt::StrongFocus); // the wheel alone does not give it
        }
        return false;
    }
    if (control->hasFocus()) {
        return false;
    }
    event->ignore(); // goes on to what lies around
    return true;
}

} // namespace nimbara
