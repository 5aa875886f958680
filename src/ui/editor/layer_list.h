#pragma once

#include "document/layer.h"
#include "ui/editor/layer_selection.h"

#include <QListWidget>

namespace nimbara {

/// The layers of the scene in PREVIEW, front layer first. Several can be selected. Entries that are
/// dragged tell where their layers are to go; they stay themselves until they are written anew. A
/// double click renames in place, the padlock at the right locks.
class LayerList : public QListWidget {
    Q_OBJECT
public:
    explicit LayerList(QWidget *parent = nullptr);

    /// The layer of an entry.
    static LayerId layerOf(const QListWidgetItem &item);
    /// What the entry is about; its text is the caller's.
    static void setLayer(QListWidgetItem &item, const Layer &layer);

    /// Where an entry's padlock is. `entry`: its place.
    static QRect lockIn(QRect entry);

    /// The selected layers, front layer first; the current one, if it is selected, last.
    [[nodiscard]] LayerSelection selection() const;
    /// Marks the layers, without a signal.
    void mark(const LayerSelection &selection);

    /// The selected entries were dropped at a point of the viewport.
    void dropSelected(QPoint place);

Q_SIGNALS:
    /// The operator selected other entries.
    void chosen(const nimbara::LayerSelection &selection);
    /// The operator dragged the layers in front of so many others, counted from the rear.
    void dragged(const nimbara::LayerIds &layers, int place);
    void renamed(nimbara::LayerId layer, const QString &name);
    /// The operator pressed the padlock.
    void lockPressed(nimbara::LayerId layer);

protected:
    void dropEvent(QDropEvent *event) override;
};

} // namespace nimbara
