#include "support/text_geometry.h"

#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyleOptionComboBox>

#include <algorithm>
#include <vector>

namespace nimbara::testing {

namespace {

QString described(const QWidget &widget)
{
    return QLatin1String(widget.metaObject()->className()) + QLatin1Char(' ') + widget.objectName()
        + QLatin1Char(' ') + widget.property("text").toString();
}

QString textOf(const QWidget &widget)
{
    const auto *list = qobject_cast<const QComboBox *>(&widget);
    return list != nullptr ? list->currentText() : widget.property("text").toString();
}

bool showsWholeList(const QComboBox &list)
{
    QStyleOptionComboBox option;
    option.initFrom(&list);
    const int room
        = list.style()
              ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &list)
              .width();
    return list.isEditable() || room >= list.fontMetrics().horizontalAdvance(list.currentText());
}

bool showsWholeText(const QWidget &widget)
{
    if (const auto *list = qobject_cast<const QComboBox *>(&widget)) {
        return showsWholeList(*list);
    }
    if (const auto *number = qobject_cast<const QAbstractSpinBox *>(&widget)) {
        const auto *field = number->findChild<QLineEdit *>();
        return field->width() >= number->fontMetrics().horizontalAdvance(number->text());
    }
    const auto *label = qobject_cast<const QLabel *>(&widget);
    if (label != nullptr && label->wordWrap()) {
        return label->height() >= label->heightForWidth(label->width());
    }
    const bool hasText = label != nullptr || qobject_cast<const QAbstractButton *>(&widget);
    if (!hasText || widget.minimumWidth() == widget.maximumWidth()) {
        return true;
    }
    const QSize wanted = widget.sizeHint();
    return widget.width() >= wanted.width()
        && widget.height() >= std::min(wanted.height(), widget.fontMetrics().height());
}

bool isScrolled(const QWidget &inner)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(
        inner.parentWidget() != nullptr ? inner.parentWidget()->parentWidget() : nullptr);
    return area != nullptr && area->viewport() == inner.parentWidget();
}

/// Beside a parent's edge it is cut off; below one it may be scrolled to.
bool isInsideEveryParent(const QWidget &widget)
{
    for (const QWidget *inner = &widget; !inner->isWindow(); inner = inner->parentWidget()) {
        const QRect room = inner->parentWidget()->rect();
        const QRect place = inner->geometry();
        const bool fitsDown = place.top() >= 0 && place.bottom() <= room.bottom();
        if (place.left() < 0 || place.right() > room.right() || !(fitsDown || isScrolled(*inner))) {
            return false;
        }
    }
    return true;
}

QRect seen(const QWidget &window, const QWidget &widget)
{
    return widget.visibleRegion().boundingRect().translated(widget.mapTo(&window, QPoint()));
}

struct Text {
    const QWidget *widget;
    QRect place; ///< of what is seen of it, in the window
};

std::vector<Text> visibleTexts(const QWidget &window)
{
    std::vector<Text> found;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->isVisible() && !textOf(*widget).isEmpty()) {
            found.push_back({ widget, seen(window, *widget) });
        }
    }
    return found;
}

} // namespace

QString cutOffTexts(const QWidget &window)
{
    QStringList found;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->isVisible() && !(showsWholeText(*widget) && isInsideEveryParent(*widget))) {
            found << described(*widget);
        }
    }
    return found.join(QLatin1Char('\n'));
}

QString overlappingTexts(const QWidget &window)
{
    QStringList found;
    const std::vector<Text> texts = visibleTexts(window);
    for (auto one = texts.begin(); one != texts.end(); ++one) {
        for (auto other = one + 1; other != texts.end(); ++other) {
            const QRect both = one->place & other->place;
            if (both.width() > 1 && both.height() > 1 && !one->widget->isAncestorOf(other->widget)
                && !other->widget->isAncestorOf(one->widget)) {
                found << described(*one->widget) + QStringLiteral(" over ")
                        + described(*other->widget);
            }
        }
    }
    return found.join(QLatin1Char('\n'));
}

QString buttonsOutOfSight(const QWidget &window)
{
    QStringList found;
    for (const auto *button : window.findChildren<QAbstractButton *>()) {
        if (button->isVisible() && button->visibleRegion().boundingRect() != button->rect()) {
            found << described(*button);
        }
    }
    return found.join(QLatin1Char('\n'));
}

} // namespace nimbara::testing
