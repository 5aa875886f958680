#include "ui/editor/canvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <utility>

namespace nimbara {

namespace {

constexpr double handleDiameter = 12;
const QColor groundColor(0x08, 0x0c, 0x14);
const QColor frameColor(0x5a, 0x6e, 0x8c);
const QColor selectionColor(0x65, 0xb0, 0xed);

void paintSelection(QPainter &painter, const QRectF &rect, bool locked)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(selectionColor, 2, locked ? Qt::DashLine : Qt::SolidLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    if (locked) {
        return; // nothing to grip
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(selectionColor);
    for (const QPointF &corner : cornersOf(rect)) {
        painter.drawEllipse(corner, handleDiameter / 2, handleDiameter / 2);
    }
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
    m_aspect = aspect;
    endDrag();
    update();
}

void Canvas::setSelected(LayerId layer)
{
    const ScenePtr current = scene();
    const LayerId found = current && findLayer(*current, layer) != nullptr ? layer : LayerId();
    if (std::exchange(m_selected, found) != found) {
        endDrag(); // a drag goes on with no other layer than it began with
    }
    update();
    Q_EMIT selectionChanged();
}

QRectF Canvas::frameArea() const
{
    return frameRect(size(), m_aspect);
}

void Canvas::selectAt(LayerId layer)
{
    if (layer != m_selected) {
        setSelected(layer);
    }
}

void Canvas::endDrag()
{
    if (m_mode != Mode::Idle) {
        m_mode = Mode::Idle;
        Q_EMIT dragEnded();
    }
}

void Canvas::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), groundColor);
    const QRectF area = frameArea();
    if (!m_frame.isNull()) {
        m_framePainter.draw(painter, area, m_frame);
    }
    painter.setPen(QPen(frameColor, 1));
    painter.drawRect(area);
    const ScenePtr current = scene();
    if (const Layer *layer = current ? findLayer(*current, m_selected) : nullptr) {
        paintSelection(painter, layerRect(boxOf(*layer), area), layer->locked);
    }
}

void Canvas::mousePressEvent(QMouseEvent *event)
{
    const ScenePtr current = scene();
    if (event->button() != Qt::LeftButton || !current) {
        return;
    }
    const CanvasHit hit = canvasHit(*current, m_selected, frameArea(), event->position());
    if (hit.handle == Handle::None) {
        selectAt(hit.layer);
    }
    const Layer *layer = findLayer(*current, m_selected);
    if (layer == nullptr || layer->locked) {
        endDrag();
        return;
    }
    m_mode = hit.handle == Handle::None ? Mode::Moving : Mode::Resizing;
    m_drag = { layer->kind, boxOf(*layer), hit.handle, event->position() };
    Q_EMIT dragBegan();
}

void Canvas::mouseMoveEvent(QMouseEvent *event)
{
    const ScenePtr current = scene();
    if (!current) {
        return;
    }
    if (m_mode == Mode::Idle) {
        showPointerShape(*current, event->position());
    } else {
        Q_EMIT placed(m_selected, m_drag.boxAt(event->position(), frameArea()));
    }
}

void Canvas::mouseReleaseEvent(QMouseEvent * /*event*/)
{
    endDrag();
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

void Canvas::keyPressEvent(QKeyEvent *event)
{
    const int right
        = (event->key() == Qt::Key_Right ? 1 : 0) - (event->key() == Qt::Key_Left ? 1 : 0);
    const int down = (event->key() == Qt::Key_Down ? 1 : 0) - (event->key() == Qt::Key_Up ? 1 : 0);
    const ScenePtr current = scene();
    const Layer *layer = current ? findLayer(*current, m_selected) : nullptr;
    if (layer == nullptr || layer->locked || (right == 0 && down == 0)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const bool large = event->modifiers().testFlag(Qt::ShiftModifier);
    Q_EMIT placed(layer->id, nudgedBox(boxOf(*layer), right, down, large));
}

void Canvas::showPointerShape(const Scene &current, QPointF pointer)
{
    const CanvasHit hit = canvasHit(current, m_selected, frameArea(), pointer);
    switch (hit.handle) {
    case Handle::TopLeft:
    case Handle::BottomRight:
        setCursor(Qt::SizeFDiagCursor);
        return;
    case Handle::TopRight:
    case Handle::BottomLeft:
        setCursor(Qt::SizeBDiagCursor);
        return;
    case Handle::None:
        const Layer *layer = findLayer(current, hit.layer);
        setCursor(layer != nullptr && !layer->locked ? Qt::OpenHandCursor : Qt::ArrowCursor);
    }
}

} // namespace nimbara
