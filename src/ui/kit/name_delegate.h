#pragma once

#include <QStyledItemDelegate>

#include <functional>

namespace nimbara {

/// Edits the name of an entry where it stands. The list is not written: what was typed is told, and
/// whoever owns the name writes the entry anew. Entries hold as `Qt::UserRole` whose name it is
/// (a number); they may be another's before the edit ends.
class NameDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// The name as it is; never empty.
    std::function<QString(const QModelIndex &entry)> nameOf
        = [](const QModelIndex &entry) { return entry.data().toString(); };

    [[nodiscard]] QWidget *createEditor(QWidget *parent,
        const QStyleOptionViewItem &option,
        const QModelIndex &entry) const override;
    void setEditorData(QWidget *editor, const QModelIndex &entry) const override;
    void setModelData(QWidget *editor,
        QAbstractItemModel *model,
        const QModelIndex &entry) const override;

Q_SIGNALS:
    /// `owner`: of the entry where the edit began.
    void named(quint64 owner, const QString &name) const;
};

} // namespace nimbara
