#pragma once

#include "document/ids.h"

#include <QListWidget>

namespace nimbara {

/// The layers of the scene in PREVIEW, front layer first. An entry that is dragged tells where its
/// layer is to go; the entries themselves stay until they are written anew.
class LayerList : public QListWidget {
    Q_OBJECT
public:
    explicit LayerList(QWidget *parent = nullptr);

    /// The layer of an entry.
    static LayerId layerOf(const QListWidgetItem &item);
    static void setLayer(QListWidgetItem &item, LayerId layer);

    /// The current entry was dropped at a point of the viewport.
    void dropCurrent(QPoint place);

Q_SIGNALS:
    /// The operator dragged the layer so many places to the front, or back when negative.
    void dragged(nimbara::LayerId layer, int places);

protected:
    void dropEvent(QDropEvent *event) override;
};

} // namespace nimbara
