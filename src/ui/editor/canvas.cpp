#include "ui/editor/canvas.h"

#include "ui/editor/canvas_marks.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGestureEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QPinchGesture>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace nimbara {

namespace {

constexpr double wheelNotch = 120; ///< of a wheel's angle
constexpr double notchZoom = 1.2;
constexpr int clickReach = 3; ///< pixels that a click on one of several may wander
constexpr qint64 longestTapMs = 600; ///< of the space bar
const QColor groundColor(0x08, 0x0c, 0x14);
const QColor frameColor(0x5a, 0x6e, 0x8c);

bool extends(Qt::KeyboardModifiers modifiers)
{
    return (modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) != 0;
}

} // namespace

Canvas::Canvas(QWidget *parent)
    : QWidget(parent)
{
    setMinimumSize(160, 90);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMouseTracking(true);
    // A click alone gives the arrow keys to the canvas: they move what is selected.
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    grabGesture(Qt::PinchGesture);
}

void Canvas::setFrame(const QImage &frame)
{
    if (frame.cacheKey() != m_frame.cacheKey()) {
        m_frame = frame;
        update();
    }
}

void Canvas::setAspect(double aspect)
{
    m_view.setAspect(aspect);
    endDrag();
    update();
}

void Canvas::setSelection(const LayerSelection &selection)
{
    const ScenePtr current = scene();
    LayerSelection found = current ? selection.in(*current) : LayerSelection();
    const bool isOther = found != m_selection;
    m_selection = std::move(found);
    if (isOther && (m_mode == Mode::Moving || m_mode == Mode::Resizing)) {
        endDrag(); // a drag goes on with no other layers than it began with
    }
    update();
    Q_EMIT selectionChanged();
}

QRectF Canvas::frameArea() const
{
    return m_view.frameIn(size());
}

GroupParts Canvas::movable() const
{
    const ScenePtr current = scene();
    return current ? movableParts(*current, m_selection.layers()) : GroupParts();
}

Handle Canvas::handleUnder(QPointF pointer) const
{
    const GroupParts parts = movable();
    return parts.empty() ? Handle::None
                         : handleAt(layerRect(boundsOf(parts), frameArea()), pointer);
}

void Canvas::nudge(int right, int down)
{
    if (const GroupParts parts = movable(); !parts.empty()) {
        Q_EMIT placed(nudged(parts, right, down, outputSize()));
    }
}

void Canvas::zoom(double factor)
{
    if (factor == 0) {
        m_view.fit();
        update();
    } else {
        zoomAt(QRectF(rect()).center(), factor);
    }
}

void Canvas::zoomAt(QPointF pointer, double factor)
{
    m_view.zoomAt(pointer, factor, size());
    update();
}

void Canvas::endDrag()
{
    const Mode ended = std::exchange(m_mode, Mode::Idle);
    m_guides.clear();
    m_band = {};
    m_clicked = {};
    if (ended == Mode::Moving || ended == Mode::Resizing) {
        Q_EMIT dragEnded();
    }
    update();
}

void Canvas::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), groundColor);
    const QRectF area = frameArea();
    if (!m_frame.isNull() && m_view.zoom() > 1) {
        painter.drawImage(area, m_frame); // the part alone that is seen
    } else if (!m_frame.isNull()) {
        m_framePainter.draw(painter, area, m_frame);
    }
    painter.setPen(QPen(frameColor, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(area);
    paintSelection(painter, area);
    paintGuides(painter, area, m_guides);
    if (!m_band.isNull()) {
        paintBand(painter, m_band);
    }
    if (!m_view.isFitted()) {
        paintZoom(painter, rect(), m_view.zoom());
    }
}

void Canvas::paintSelection(QPainter &painter, const QRectF &area) const
{
    const ScenePtr current = scene();
    if (!current) {
        return;
    }
    for (const Layer &layer : layersOf(*current, m_selection.layers())) {
        paintOutline(painter,
            layerRect(boxOf(layer), area),
            !layer.locked,
            m_selection.size() == 1);
    }
    if (const GroupParts parts = movable(); m_selection.size() > 1 && !parts.empty()) {
        paintGroup(painter, layerRect(boundsOf(parts), area));
    }
}

void Canvas::mousePressEvent(QMouseEvent *event)
{
    const ScenePtr current = scene();
    const QPointF pointer = event->position();
    const bool pans = event->button() == Qt::MiddleButton
        || (event->button() == Qt::LeftButton && m_space != Space::Up);
    endDrag();
    m_press = pointer;
    if (pans) {
        m_mode = Mode::Panning;
        m_space = m_space == Space::Up ? Space::Up : Space::Used;
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    if (event->button() != Qt::LeftButton || !current) {
        return;
    }
    if (const Handle handle = handleUnder(pointer); handle != Handle::None) {
        beginDrag(handle, pointer);
        return;
    }
    const LayerId under = layerAt(*current, frameArea(), pointer);
    choose(under, event->modifiers());
    const Layer *layer = findLayer(*current, under);
    if (layer == nullptr || layer->locked) {
        beginBand(pointer, extends(event->modifiers()));
    } else if (m_selection.contains(under)) {
        beginDrag(Handle::None, pointer);
    }
}

/// A click selects one layer, or none; with Ctrl or Shift it adds or takes away. One of several
/// that are selected may be the beginning of a drag of all.
void Canvas::choose(LayerId layer, Qt::KeyboardModifiers modifiers)
{
    if (extends(modifiers)) {
        if (layer) {
            setSelection(m_selection.toggled(layer));
        }
    } else if (m_selection.size() > 1 && m_selection.contains(layer)) {
        m_clicked = layer;
    } else if (layer != m_selection.current() || m_selection.size() > 1) {
        setSelected(layer);
    }
}

void Canvas::beginDrag(Handle handle, QPointF press)
{
    const ScenePtr current = scene();
    GroupParts parts = movable();
    std::vector<Box> others = boxesBeside(*current, parts);
    m_drag = { std::move(parts), handle, press, std::move(others) };
    m_mode = handle == Handle::None ? Mode::Moving : Mode::Resizing;
    Q_EMIT dragBegan();
}

void Canvas::beginBand(QPointF press, bool adds)
{
    m_mode = Mode::Banding;
    m_press = press;
    m_bandBase = adds ? m_selection : LayerSelection();
}

void Canvas::stretchBand(QPointF pointer)
{
    if (m_band.isNull()
        && (pointer - m_press).manhattanLength() < QApplication::startDragDistance()) {
        return;
    }
    m_band = QRectF(m_press, pointer).normalized();
    m_band.setSize(m_band.size().expandedTo({ 1, 1 })); // what has no area touches nothing
    const LayerSelection touched = m_bandBase.with(layersTouching(*scene(), frameArea(), m_band));
    if (touched == m_selection) {
        update();
    } else {
        setSelection(touched);
    }
}

void Canvas::mouseMoveEvent(QMouseEvent *event)
{
    if (!scene()) {
        return;
    }
    switch (m_mode) {
    case Mode::Idle:
        showPointerShape(event->position());
        break;
    case Mode::Panning:
        m_view.pan(event->position() - std::exchange(m_press, event->position()), size());
        update();
        break;
    case Mode::Banding:
        stretchBand(event->position());
        break;
    case Mode::Moving:
    case Mode::Resizing:
        drag(event);
        break;
    }
}

void Canvas::drag(QMouseEvent *event)
{
    if (m_clicked && (event->position() - m_press).manhattanLength() <= clickReach) {
        return;
    }
    m_clicked = {};
    const bool snaps = m_snaps && !event->modifiers().testFlag(Qt::AltModifier);
    GroupDrag::Result result = m_drag.at(event->position(), frameArea(), snaps);
    m_guides = std::move(result.guides);
    Q_EMIT placed(result.placements);
    update();
}

void Canvas::mouseReleaseEvent(QMouseEvent *event)
{
    const LayerId clicked = std::exchange(m_clicked, {});
    endDrag();
    if (clicked) {
        setSelected(clicked);
    }
    showPointerShape(event->position());
}

void Canvas::mouseDoubleClickEvent(QMouseEvent *event)
{
    const ScenePtr current = scene();
    if (event->button() != Qt::LeftButton || !current) {
        return;
    }
    if (const LayerId layer = layerAt(*current, frameArea(), event->position())) {
        setSelected(layer);
        Q_EMIT activated();
    }
}

/// By the mouse it is about the layer under the pointer, and about all that are selected where it
/// is one of them.
void Canvas::contextMenuEvent(QContextMenuEvent *event)
{
    const ScenePtr current = scene();
    if (!current || QGuiApplication::mouseButtons().testFlag(Qt::LeftButton)) {
        return; // something is being dragged
    }
    if (event->reason() == QContextMenuEvent::Mouse) {
        const LayerId under = layerAt(*current, frameArea(), event->pos());
        if (!m_selection.contains(under)) {
            setSelected(under);
        }
    }
    Q_EMIT menuWanted(event->globalPos());
}

bool Canvas::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Where there is something to pan, a space bar that is held is for that.
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Space && m_view.zoom() > 1
            && (underMouse() || m_space != Space::Up)) {
            event->accept();
            return true;
        }
        break;
    case QEvent::NativeGesture:
        if (pinch(*static_cast<QNativeGestureEvent *>(event))) {
            return true;
        }
        break;
    case QEvent::Gesture:
        if (auto *found = static_cast<QGestureEvent *>(event)->gesture(Qt::PinchGesture)) {
            pinch(*static_cast<QPinchGesture *>(found));
            return true;
        }
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

bool Canvas::pinch(const QNativeGestureEvent &gesture)
{
    if (gesture.gestureType() != Qt::ZoomNativeGesture) {
        return false;
    }
    zoomAt(gesture.position(), 1 + gesture.value());
    return true;
}

void Canvas::pinch(const QPinchGesture &gesture)
{
    if (m_mode != Mode::Idle) {
        endDrag(); // the first finger is taken for the mouse
    }
    zoomAt(mapFromGlobal(gesture.centerPoint()), gesture.scaleFactor());
}

void Canvas::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Space || m_view.zoom() <= 1) {
        QWidget::keyPressEvent(event);
    } else if (!event->isAutoRepeat() && m_space == Space::Up) {
        m_space = Space::Held;
        m_spaceHeld.start();
        setCursor(Qt::OpenHandCursor);
    }
}

void Canvas::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Space || m_space == Space::Up) {
        QWidget::keyReleaseEvent(event);
        return;
    }
    if (event->isAutoRepeat()) {
        return;
    }
    unsetCursor();
    const bool isTap = m_spaceHeld.elapsed() < longestTapMs;
    if (std::exchange(m_space, Space::Up) == Space::Held && isTap) {
        Q_EMIT spaceTapped();
    }
}

void Canvas::focusOutEvent(QFocusEvent *event)
{
    m_space = Space::Up;
    QWidget::focusOutEvent(event);
}

void Canvas::wheelEvent(QWheelEvent *event)
{
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    zoomAt(event->position(), std::pow(notchZoom, event->angleDelta().y() / wheelNotch));
    event->accept();
}

void Canvas::showPointerShape(QPointF pointer)
{
    if (m_space != Space::Up) {
        setCursor(Qt::OpenHandCursor);
        return;
    }
    switch (handleUnder(pointer)) {
    case Handle::TopLeft:
    case Handle::BottomRight:
        setCursor(Qt::SizeFDiagCursor);
        return;
    case Handle::TopRight:
    case Handle::BottomLeft:
        setCursor(Qt::SizeBDiagCursor);
        return;
    case Handle::None:
        break;
    }
    const ScenePtr current = scene();
    const Layer *layer
        = current ? findLayer(*current, layerAt(*current, frameArea(), pointer)) : nullptr;
    setCursor(layer != nullptr && !layer->locked ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

} // namespace nimbara
