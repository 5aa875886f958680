#pragma once

#include <QStyledItemDelegate>

#include <functional>

namespace nimbara {

/// Edits the name of an entry where it stands. The list is not written: what was typed is told, and
/// whoever owns the name writes the entry anew.
class NameDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// The name as it is; never empty.
    std::function<QString(const QModelIndex &entry)> nameOf
        = [](const QModelIndex &entry) { return entry.data().toString(); };

    void setEditorData(QWidget *editor, const QModelIndex &entry) const override;
    void setModelData(QWidget *editor,
        QAbstractItemModel *model,
        const QModelIndex &entry) const override;

Q_SIGNALS:
    void named(const QModelIndex &entry, const QString &name) const;
};

} // namespace nimbara
