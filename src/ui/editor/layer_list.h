#pragma once

#include "document/layer.h"

#include <QListWidget>

namespace nimbara {

/// The layers of the scene in PREVIEW, front layer first. An entry that is dragged tells where its
/// layer is to go; the entries themselves stay until they are written anew. A double click renames
/// in place, the padlock at the right locks.
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

    /// The current entry was dropped at a point of the viewport.
    void dropCurrent(QPoint place);

Q_SIGNALS:
    /// The operator dragged the layer so many places to the front, or back when negative.
    void dragged(nimbara::LayerId layer, int places);
    void renamed(nimbara::LayerId layer, const QString &name);
    /// The operator pressed the padlock.
    void lockPressed(nimbara::LayerId layer);

protected:
    void dropEvent(QDropEvent *event) override;
};

} // namespace nimbara
