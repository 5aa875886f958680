#include "ui/editor/layer_list.h"

#include <QDropEvent>

namespace nimbara {

LayerList::LayerList(QWidget *parent)
    : QListWidget(parent)
{
    setDragDropMode(QAbstractItemView::InternalMove);
    setDragDropOverwriteMode(false);
}

LayerId LayerList::layerOf(const QListWidgetItem &item)
{
    return LayerId::of(item.data(Qt::UserRole).toULongLong());
}

void LayerList::setLayer(QListWidgetItem &item, LayerId layer)
{
    item.setData(Qt::UserRole, QVariant::fromValue(qulonglong { layer.value() }));
}

void LayerList::dropCurrent(QPoint place)
{
    const QListWidgetItem *dropped = currentItem();
    if (dropped == nullptr) {
        return;
    }
    const int from = row(dropped);
    int before = count(); // the row that it is dropped in front of
    if (const QListWidgetItem *under = itemAt(place)) {
        before = row(under) + (place.y() > visualItemRect(under).center().y() ? 1 : 0);
    }
    const int to = before > from ? before - 1 : before;
    if (to != from) {
        Q_EMIT dragged(layerOf(*dropped), from - to);
    }
}

void LayerList::dropEvent(QDropEvent *event)
{
    if (event->source() != this) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction); // so that the toolkit removes no entry
    event->accept();
    setState(QAbstractItemView::NoState);
    dropCurrent(event->position().toPoint());
}

} // namespace nimbara
