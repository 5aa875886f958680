#include "ui/kit/name_delegate.h"

#include <QLineEdit>

namespace nimbara {

namespace {

constexpr const char *ownerProperty = "owner";

quint64 ownerOf(const QModelIndex &entry)
{
    return entry.data(Qt::UserRole).toULongLong();
}

} // namespace

QWidget *NameDelegate::createEditor(QWidget *parent,
    const QStyleOptionViewItem &option,
    const QModelIndex &entry) const
{
    QWidget *editor = QStyledItemDelegate::createEditor(parent, option, entry);
    if (editor != nullptr) {
        editor->setProperty(ownerProperty, ownerOf(entry));
    }
    return editor;
}

/// What is being typed stays when the entry is written meanwhile, and also the name that the edit
/// began with when the entry is another's by now.
void NameDelegate::setEditorData(QWidget *editor, const QModelIndex &entry) const
{
    auto *field = qobject_cast<QLineEdit *>(editor);
    const bool isItsOwn = editor->property(ownerProperty).toULongLong() == ownerOf(entry);
    if (field != nullptr && isItsOwn && !field->isModified()) {
        field->setText(nameOf(entry));
    }
}

void NameDelegate::setModelData(QWidget *editor,
    QAbstractItemModel * /*model*/,
    const QModelIndex & /*entry*/) const
{
    if (const auto *field = qobject_cast<QLineEdit *>(editor)) {
        Q_EMIT named(field->property(ownerProperty).toULongLong(), field->text());
    }
}

} // namespace nimbara
