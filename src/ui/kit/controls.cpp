#include "ui/kit/controls.h"

#include "base/i18n.h"

#include <QSignalBlocker>

namespace nimbara {

QLabel *makeNote(const QString &text)
{
    auto *note = new QLabel(text);
    note->setTextFormat(Qt::PlainText); // names of files and sources may look like markup
    note->setWordWrap(true);
    return note;
}

QPushButton *makeButton(const char *spanish, const char *name, QWidget *parent)
{
    auto *button = new QPushButton(nimbara_i18n::tr(spanish), parent);
    button->setObjectName(QString::fromLatin1(name));
    button->setMinimumHeight(36);
    button->ensurePolished(); // the style sheet's padding counts
    button->setMinimumWidth(button->sizeHint().width());
    return button;
}

QLineEdit *makeKeyField(const char *name, const char *spanish)
{
    auto *field = named(new QLineEdit, name, nimbara_i18n::tr(spanish));
    field->setEchoMode(QLineEdit::Password);
    field->setPlaceholderText(nimbara_i18n::tr(spanish));
    return field;
}

void showText(QLineEdit *field, const QString &text)
{
    if (field->text() != text) {
        field->setText(text);
    }
}

QLabel *makeNote(const char *spanish)
{
    return makeNote(nimbara_i18n::tr(spanish));
}

QComboBox *
makeList(std::initializer_list<const char *> entries, const char *name, const char *spanish)
{
    auto *list = named(new QComboBox, name, nimbara_i18n::tr(spanish));
    for (const char *entry : entries) {
        list->addItem(nimbara_i18n::tr(entry));
    }
    return list;
}

void setAmber(QWidget &widget, bool amber)
{
    const QString style = amber
        ? QStringLiteral("color: %1; font-weight: bold").arg(QColor(amberColour).name())
        : QString();
    if (widget.styleSheet() != style) {
        widget.setStyleSheet(style);
    }
}

void refill(QComboBox *list, const QStringList &texts, int current)
{
    const QSignalBlocker blocker(list);
    list->clear();
    list->addItems(texts);
    list->setCurrentIndex(current);
}

} // namespace nimbara
