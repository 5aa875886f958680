#include "ui/controls.h"

#include "app/i18n.h"

#include <QSignalBlocker>

namespace nimbara {

QPushButton *makeButton(const char *spanish, const char *name, QWidget *parent)
{
    auto *button = new QPushButton(nimbara_i18n::tr(spanish), parent);
    button->setObjectName(QString::fromLatin1(name));
    button->setMinimumHeight(36);
    button->ensurePolished(); // the style sheet's padding counts
    button->setMinimumWidth(button->sizeHint().width());
    return button;
}

void refill(QComboBox *list, const QStringList &texts, int current)
{
    const QSignalBlocker blocker(list);
    list->clear();
    list->addItems(texts);
    list->setCurrentIndex(current);
}

} // namespace nimbara
