#include "ui/editor/scene_tiles.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"
#include "ui/kit/name_delegate.h"

#include <QAction>
#include <QDropEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSet>
#include <QSignalBlocker>
#include <QWheelEvent>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace nimbara {

namespace {

constexpr int lowPicture = 32; ///< pixels, the height of a picture
constexpr int highPicture = 63;
constexpr int border = 3; ///< pixels around a tile
constexpr int tileGap = 6; ///< pixels between tiles, and beside the picture
constexpr int textWidth = 112; ///< pixels
constexpr int barHeight = 6; ///< pixels of the scroll bar
const QColor ground(0x16, 0x25, 0x38);
const QColor chosenGround(0x24, 0x5b, 0x8b);
const QColor previewColor(0x2f, 0xa8, 0x6c);
const QColor onAirColor(0xe0, 0x3c, 0x4f);
const QColor onAirText(0xff, 0xc2, 0xbc);
const QColor dropColor(0x65, 0xb0, 0xed);

/// Paints a tile.
class TileDelegate : public NameDelegate {
public:
    explicit TileDelegate(SceneTiles *tiles)
        : NameDelegate(tiles)
        , m_tiles(*tiles)
    {
    }

    void paint(QPainter *painter,
        const QStyleOptionViewItem &option,
        const QModelIndex &index) const override
    {
        const QRect tile = tileIn(option.rect);
        const bool isCurrent = m_tiles.isInPreview(index.row());
        const bool isOnAir = m_tiles.isOnAir(index.row());
        painter->save();
        painter->setFont(option.font);
        painter->fillRect(tile, isCurrent ? chosenGround : ground);
        if (isOnAir || isCurrent) {
            painter->setPen(QPen(isOnAir ? onAirColor : previewColor, border));
            painter->drawRect(tile.adjusted(1, 1, -2, -2));
        }
        paintPicture(*painter, tile, m_tiles.pictureAt(index.row()));
        paintTexts(*painter, textsIn(option.rect), index, isOnAir);
        if (option.state.testFlag(QStyle::State_HasFocus)) {
            painter->setPen(QPen(dropColor, 1, Qt::DashLine));
            painter->drawRect(tile.adjusted(border, border, -border - 1, -border - 1));
        }
        painter->restore();
    }

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem & /*option*/,
        const QModelIndex & /*index*/) const override
    {
        return m_tiles.tileSize();
    }

    void updateEditorGeometry(QWidget *editor,
        const QStyleOptionViewItem &option,
        const QModelIndex & /*index*/) const override
    {
        QRect texts = textsIn(option.rect);
        texts.setHeight(std::min(texts.height(), editor->sizeHint().height()));
        editor->setGeometry(texts);
    }

private:
    static QRect tileIn(QRect item) { return item.adjusted(0, 0, -tileGap, 0); }
    [[nodiscard]] QRect textsIn(QRect item) const
    {
        const int left = border + m_tiles.pictureSize().width() + tileGap;
        return tileIn(item).adjusted(left, border, -border - 2, -border);
    }

    void paintPicture(QPainter &painter, QRect tile, const QPixmap &picture) const
    {
        const QRect room(tile.topLeft() + QPoint(border, border), m_tiles.pictureSize());
        painter.fillRect(room, Qt::black);
        QRect place(QPoint(), picture.deviceIndependentSize().toSize());
        place.moveCenter(room.center());
        painter.drawPixmap(place, picture);
    }

    static void paintTexts(QPainter &painter, QRect room, const QModelIndex &index, bool isOnAir)
    {
        const QString name
            = QString::number(index.row() + 1) + QStringLiteral("  ") + index.data().toString();
        QRect line = room;
        line.setHeight(painter.fontMetrics().height());
        const auto write = [&painter, &line](const QString &text) {
            painter.drawText(line,
                Qt::AlignLeft | Qt::AlignVCenter,
                painter.fontMetrics().elidedText(text, Qt::ElideRight, line.width()));
        };
        painter.setPen(Qt::white);
        write(name);
        if (isOnAir) {
            line.moveTop(line.bottom() + 1);
            painter.setPen(onAirText);
            write(QStringLiteral("● ") + nimbara_i18n::tr("AL AIRE"));
        }
    }

    SceneTiles &m_tiles;
};

} // namespace

SceneTiles::SceneTiles(const KeyMap &keys, QWidget *parent)
    : QListWidget(parent)
    , m_keys(keys)
{
    named(this, "sceneTiles", nimbara_i18n::tr("Escenas"));
    auto *delegate = new TileDelegate(this);
    setItemDelegate(delegate);
    connect(delegate, &NameDelegate::named, this, [this](quint64 owner, const QString &name) {
        Q_EMIT renamed(SceneId::of(owner), name);
    });
    setFlow(QListView::LeftToRight);
    setWrapping(false);
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setStyleSheet(QStringLiteral(
        "QListView { border: none; } QLineEdit { padding: 1px; border-radius: 3px; }"
        "QScrollBar:horizontal { background: #17273a; height: %1px; border-radius: 3px; }"
        "QScrollBar::handle:horizontal { background: #3f6288; min-width: 26px;"
        " border-radius: 3px; }")
                      .arg(barHeight));
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDragDropOverwriteMode(false);
    setDropIndicatorShown(false); // it tells rows; tiles stand side by side
    setEditTriggers(QAbstractItemView::NoEditTriggers); // F2 is taken
    setLow(false);

    auto *rename = new QAction(keyActionText(KeyAction::Rename), this);
    rename->setShortcutContext(Qt::WidgetShortcut);
    keys.bind(rename, KeyAction::Rename);
    connect(rename, &QAction::triggered, this, [this] {
        if (currentItem() != nullptr) {
            editItem(currentItem());
        }
    });
    addAction(rename);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(this, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0) {
            Q_EMIT chosen(sceneAt(row));
        }
    });
    connect(this, &QListWidget::itemDoubleClicked, this, [this](const QListWidgetItem *tile) {
        Q_EMIT taken(sceneAt(row(tile)));
    });
    connect(&m_keys, &KeyMap::changed, this, &SceneTiles::showKeys);
    showKeys();
}

void SceneTiles::showKeys()
{
    setToolTip(nimbara_i18n::tr("Clic o tecla: a Preparación. Doble clic: al aire. Arrastra para "
                                "ordenar. Renombrar: %1")
                   .arg(m_keys.text(KeyAction::Rename)));
    for (int row = 0; row < count(); ++row) {
        describe(row);
    }
}

QSize SceneTiles::pictureSize() const
{
    const int height = m_isLow ? lowPicture : highPicture;
    return { height * 16 / 9, height };
}

QSize SceneTiles::tileSize() const
{
    return pictureSize() + QSize(2 * border + 2 * tileGap + textWidth, 2 * border);
}

void SceneTiles::setLow(bool low)
{
    if (low != std::exchange(m_isLow, low)) {
        for (Picture &picture : m_pictures) {
            picture.shown = scaled(picture.given);
        }
    }
    setFixedHeight(tileSize().height() + barHeight);
    scheduleDelayedItemsLayout();
}

SceneId SceneTiles::sceneAt(int row) const
{
    const QListWidgetItem *tile = item(row);
    return tile == nullptr ? SceneId() : SceneId::of(tile->data(Qt::UserRole).toULongLong());
}

/// Tiles stay and are written anew: the mouse may be pressed on one of them right now.
void SceneTiles::showScenes(const Scenes &scenes, SceneId current)
{
    const QSignalBlocker blocker(this);
    const auto count = static_cast<int>(scenes.size());
    while (this->count() > count) {
        delete takeItem(this->count() - 1);
    }
    while (this->count() < count) {
        auto *tile = new QListWidgetItem(this);
        tile->setFlags((tile->flags() | Qt::ItemIsEditable) & ~Qt::ItemIsDropEnabled);
    }
    QSet<quint64> shown;
    for (int row = 0; row < count; ++row) {
        const Scene &scene = *scenes[static_cast<std::size_t>(row)];
        const quint64 id = scene.id.value();
        item(row)->setText(scene.name);
        item(row)->setData(Qt::UserRole, QVariant::fromValue(qulonglong { id }));
        describe(row);
        shown.insert(id);
    }
    m_current = current;
    if (markCurrent()) {
        scrollToItem(currentItem());
    }
    m_pictures.removeIf([&shown](const QHash<quint64, Picture>::iterator &each) {
        return !shown.contains(each.key());
    });
    viewport()->update();
}

/// Another current tile would end what is being typed. Returns whether it is another one now.
bool SceneTiles::markCurrent()
{
    if (state() == QAbstractItemView::EditingState) {
        return false;
    }
    const QSignalBlocker blocker(this);
    const int before = currentRow();
    for (int row = 0; row < count(); ++row) {
        if (isInPreview(row)) {
            setCurrentRow(row);
        }
    }
    return currentRow() != before;
}

void SceneTiles::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    QListWidget::closeEditor(editor, hint);
    markCurrent();
}

/// What a screen reader says, and the name in full.
void SceneTiles::describe(int row)
{
    const QString name = QString::number(row + 1) + QStringLiteral("  ") + item(row)->text();
    const QString told
        = isOnAir(row) ? name + QStringLiteral(" · ") + nimbara_i18n::tr("AL AIRE") : name;
    item(row)->setData(Qt::AccessibleTextRole, told);
    const auto action = static_cast<KeyAction>(static_cast<int>(KeyAction::Scene1) + row);
    const QString key = action <= KeyAction::Scene9 ? m_keys.text(action) : QString();
    const QString named = key.isEmpty() ? told : QStringLiteral("%1 (%2)").arg(told, key);
    item(row)->setData(Qt::ToolTipRole, named + QLatin1Char('\n') + toolTip());
}

void SceneTiles::showOnAir(SceneId scene)
{
    m_onAir = scene;
    for (int row = 0; row < count(); ++row) {
        describe(row);
    }
    viewport()->update();
}

QPixmap SceneTiles::scaled(const QImage &picture) const
{
    QPixmap small = QPixmap::fromImage(picture.scaled(pictureSize() * devicePixelRatioF(),
        Qt::KeepAspectRatio,
        Qt::SmoothTransformation));
    small.setDevicePixelRatio(devicePixelRatioF());
    return small;
}

void SceneTiles::showPicture(SceneId scene, const QImage &picture)
{
    for (int row = 0; row < count(); ++row) {
        if (sceneAt(row) == scene) {
            m_pictures.insert(scene.value(), { picture, scaled(picture) });
            viewport()->update(visualItemRect(item(row)));
        }
    }
}

int SceneTiles::gapAt(QPoint place) const
{
    for (int row = 0; row < count(); ++row) {
        if (place.x() < visualItemRect(item(row)).center().x()) {
            return row;
        }
    }
    return count();
}

void SceneTiles::dropCurrent(int gap)
{
    const int from = currentRow();
    const int to = gap > from ? gap - 1 : gap;
    if (from >= 0 && to != from) {
        Q_EMIT moved(sceneAt(from), to);
    }
}

void SceneTiles::showGap(std::optional<int> gap)
{
    m_gap = gap;
    viewport()->update();
}

void SceneTiles::dragMoveEvent(QDragMoveEvent *event)
{
    QListWidget::dragMoveEvent(event); // scrolls near the ends
    if (event->source() == this) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        showGap(gapAt(event->position().toPoint()));
    }
}

void SceneTiles::dragLeaveEvent(QDragLeaveEvent *event)
{
    showGap(std::nullopt);
    QListWidget::dragLeaveEvent(event);
}

void SceneTiles::dropEvent(QDropEvent *event)
{
    showGap(std::nullopt);
    if (event->source() != this) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction); // so that the toolkit removes no tile
    event->accept();
    setState(QAbstractItemView::NoState);
    dropCurrent(gapAt(event->position().toPoint()));
}

void SceneTiles::paintEvent(QPaintEvent *event)
{
    QListWidget::paintEvent(event);
    if (m_gap && count() > 0) {
        const QRect tile = visualItemRect(item(std::min(*m_gap, count() - 1)));
        const int left = *m_gap < count() ? tile.left() : tile.right();
        QPainter painter(viewport());
        painter.fillRect(QRect(std::max(left - tileGap / 2 - 1, 0), 0, 3, tile.height()),
            dropColor);
    }
}

/// A wheel that turns up and down moves the row sideways.
void SceneTiles::wheelEvent(QWheelEvent *event)
{
    const QPoint turned = event->pixelDelta().isNull() ? event->angleDelta() : event->pixelDelta();
    const int by = std::abs(turned.x()) > std::abs(turned.y()) ? turned.x() : turned.y();
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() - by);
    event->accept();
}

void SceneTiles::showEvent(QShowEvent *event)
{
    QListWidget::showEvent(event);
    Q_EMIT shownChanged(true);
}

void SceneTiles::hideEvent(QHideEvent *event)
{
    QListWidget::hideEvent(event);
    Q_EMIT shownChanged(false);
}

} // namespace nimbara
