#include "ui/editor/layer_list.h"

#include "base/i18n.h"
#include "ui/kit/marks.h"
#include "ui/kit/name_delegate.h"

#include <QDropEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QToolTip>

#include <utility>

namespace nimbara {

namespace {

constexpr int nameRole = Qt::UserRole + 1;
constexpr int lockedRole = Qt::UserRole + 2;
constexpr int lockWidth = 26; ///< pixels at the right of an entry
const QColor selectedGround(0x24, 0x5b, 0x8b);

class LayerDelegate : public NameDelegate {
public:
    explicit LayerDelegate(LayerList *list)
        : NameDelegate(list)
        , m_list(*list)
    {
        nameOf = [](const QModelIndex &entry) { return entry.data(nameRole).toString(); };
    }

    void paint(QPainter *painter,
        const QStyleOptionViewItem &option,
        const QModelIndex &index) const override
    {
        QStyleOptionViewItem text = option;
        text.rect.setRight(option.rect.right() - lockWidth);
        NameDelegate::paint(painter, text, index);
        QRect lock = LayerList::lockIn(option.rect);
        if (option.state.testFlag(QStyle::State_Selected)) {
            painter->fillRect(lock, selectedGround);
        }
        lockMark(index.data(lockedRole).toBool()).paint(painter, lock);
    }

    bool helpEvent(QHelpEvent *event,
        QAbstractItemView *view,
        const QStyleOptionViewItem &option,
        const QModelIndex &index) override
    {
        if (event->type() != QEvent::ToolTip
            || !LayerList::lockIn(option.rect).contains(event->pos())) {
            return NameDelegate::helpEvent(event, view, option, index);
        }
        QToolTip::showText(event->globalPos(),
            nimbara_i18n::tr(index.data(lockedRole).toBool()
                    ? "Bloqueada: no se mueve en la preparación"
                    : "Bloquear: no se moverá en la preparación"),
            view);
        return true;
    }

protected:
    bool editorEvent(QEvent *event,
        QAbstractItemModel *model,
        const QStyleOptionViewItem &option,
        const QModelIndex &index) override
    {
        const bool isClick = event->type() == QEvent::MouseButtonRelease
            || event->type() == QEvent::MouseButtonDblClick;
        if (!isClick
            || !LayerList::lockIn(option.rect)
                    .contains(static_cast<QMouseEvent *>(event)->position().toPoint())) {
            return NameDelegate::editorEvent(event, model, option, index);
        }
        if (event->type() == QEvent::MouseButtonRelease) {
            Q_EMIT m_list.lockPressed(LayerList::layerOf(*m_list.item(index.row())));
        }
        return true; // no renaming here
    }

private:
    LayerList &m_list;
};

} // namespace

LayerList::LayerList(QWidget *parent)
    : QListWidget(parent)
{
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDragDropOverwriteMode(false);
    setEditTriggers(QAbstractItemView::DoubleClicked);
    setStyleSheet(QStringLiteral("QLineEdit { padding: 0 2px; border-radius: 3px; }"));
    auto *delegate = new LayerDelegate(this);
    setItemDelegate(delegate);
    connect(this, &QListWidget::itemSelectionChanged, this, [this] { Q_EMIT chosen(selection()); });
    connect(delegate, &NameDelegate::named, this, [this](quint64 owner, const QString &name) {
        Q_EMIT renamed(LayerId::of(owner), name);
    });
}

LayerId LayerList::layerOf(const QListWidgetItem &item)
{
    return LayerId::of(item.data(Qt::UserRole).toULongLong());
}

void LayerList::setLayer(QListWidgetItem &item, const Layer &layer)
{
    item.setData(Qt::UserRole, QVariant::fromValue(qulonglong { layer.id.value() }));
    item.setData(nameRole, layer.name);
    item.setData(lockedRole, layer.locked);
    const QString told = item.text() + QStringLiteral(" · ") + nimbara_i18n::tr("Bloqueada");
    item.setData(Qt::AccessibleTextRole, layer.locked ? QVariant(told) : QVariant());
}

QRect LayerList::lockIn(QRect entry)
{
    return { entry.right() - lockWidth + 1, entry.top(), lockWidth, entry.height() };
}

LayerSelection LayerList::selection() const
{
    LayerIds layers;
    for (int row = 0; row < count(); ++row) {
        if (item(row)->isSelected() && item(row) != currentItem()) {
            layers.push_back(layerOf(*item(row)));
        }
    }
    if (currentItem() != nullptr && currentItem()->isSelected()) {
        layers.push_back(layerOf(*currentItem()));
    }
    return LayerSelection(std::move(layers));
}

void LayerList::mark(const LayerSelection &selection)
{
    const QSignalBlocker blocker(this);
    QListWidgetItem *current = nullptr;
    for (int row = 0; row < count(); ++row) {
        const LayerId layer = layerOf(*item(row));
        item(row)->setSelected(selection.contains(layer));
        current = layer == selection.current() ? item(row) : current;
    }
    if (state() != QAbstractItemView::EditingState) { // it would end what is being typed
        setCurrentItem(current, QItemSelectionModel::NoUpdate);
    }
}

void LayerList::dropSelected(QPoint place)
{
    int before = count(); // the row that they are dropped in front of
    if (const QListWidgetItem *under = itemAt(place)) {
        before = row(under) + (place.y() > visualItemRect(under).center().y() ? 1 : 0);
    }
    int below = 0; // others that are behind them then
    for (int row = before; row < count(); ++row) {
        below += item(row)->isSelected() ? 0 : 1;
    }
    if (const LayerIds layers = selection().layers(); !layers.empty()) {
        Q_EMIT dragged(layers, below);
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
    dropSelected(event->position().toPoint());
}

} // namespace nimbara
