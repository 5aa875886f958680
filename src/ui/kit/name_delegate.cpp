#include "ui/kit/name_delegate.h"

#include <QLineEdit>

namespace nimbara {

/// What is being typed stays when the entry is written meanwhile.
void NameDelegate::setEditorData(QWidget *editor, const QModelIndex &entry) const
{
    auto *field = qobject_cast<QLineEdit *>(editor);
    if (field != nullptr && !field->isModified()) {
        field->setText(nameOf(entry));
    }
}

void NameDelegate::setModelData(QWidget *editor,
    QAbstractItemModel * /*model*/,
    const QModelIndex &entry) const
{
    if (const auto *field = qobject_cast<QLineEdit *>(editor)) {
        Q_EMIT named(entry, field->text());
    }
}

} // namespace nimbara
