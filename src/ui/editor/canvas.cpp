#include "ui/editor/canvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace nimbara {

namespace {

constexpr double handleDiameter = 12;
const QColor groundColor(0x08, 0x0c, 0x14);
const QColor frameColor(0x5a, 0x6e, 0x8c);
const QColor selectionColor(0x65, 0xb0, 0xed);

void paintSelection(QPainter &painter, const QRectF &rect)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(selectionColor, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    painter.setPen(Qt::NoPen);
    painter.setBrush(selectionColor);
    for (const QPointF &corner : cornersOf(rect)) {
        painter.drawEllipse(corner, handleDiameter / 2, handleDiameter / 2);
    }
}

bool isInside(const Scene &scene, std::int32_t index)
{
    return index >= 0 && index < static_cast<std::int32_t>(scene.layers.size());
}

} // namespace

Canvas::Canvas(QWidget *parent)
    : QWidget(parent)
{
    setMinimumSize(240, 135);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMouseTracking(true);
    // A click gives the arrow keys to the canvas, and so does Tab.
    setFocusPolicy(Qt::StrongFocus);
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
    setSelected(-1);
}

void Canvas::setSelected(std::int32_t index)
{
    const Scene *current = scene();
    m_selected = current != nullptr && isInside(*current, index) ? index : -1;
    m_mode = Mode::Idle; // a drag goes on with no other layer than it began with
    update();
    onSelectionChanged();
}

QRectF Canvas::frameArea() const
{
    return frameRect(size(), m_aspect);
}

Layer *Canvas::selectedLayer() const
{
    Scene *current = scene();
    const bool exists = current != nullptr && isInside(*current, m_selected);
    return exists ? &current->layers[static_cast<std::size_t>(m_selected)] : nullptr;
}

void Canvas::selectAt(std::int32_t index)
{
    if (index != m_selected) {
        setSelected(index);
    }
}

void Canvas::place(Layer &layer, const Box &box)
{
    setBox(layer, box);
    update();
    onGeometryChanged();
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
    if (const Layer *layer = selectedLayer()) {
        paintSelection(painter, layerRect(boxOf(*layer), area));
    }
}

void Canvas::mousePressEvent(QMouseEvent *event)
{
    const Scene *current = scene();
    if (event->button() != Qt::LeftButton || current == nullptr) {
        return;
    }
    const CanvasHit hit = canvasHit(*current, m_selected, frameArea(), event->position());
    if (hit.handle == Handle::None) {
        selectAt(hit.layer);
    }
    const Layer *layer = selectedLayer();
    if (layer == nullptr) {
        m_mode = Mode::Idle;
        return;
    }
    m_mode = hit.handle == Handle::None ? Mode::Moving : Mode::Resizing;
    m_drag = { layer->kind, boxOf(*layer), hit.handle, event->position() };
}

void Canvas::mouseMoveEvent(QMouseEvent *event)
{
    const Scene *current = scene();
    if (current == nullptr) {
        return;
    }
    if (m_mode == Mode::Idle) {
        showPointerShape(*current, event->position());
        return;
    }
    if (Layer *layer = selectedLayer()) {
        place(*layer, m_drag.boxAt(event->position(), frameArea()));
    }
}

void Canvas::mouseReleaseEvent(QMouseEvent * /*event*/)
{
    m_mode = Mode::Idle;
}

void Canvas::mouseDoubleClickEvent(QMouseEvent *event)
{
    const Scene *current = scene();
    if (event->button() != Qt::LeftButton || current == nullptr) {
        return;
    }
    const std::int32_t index = layerAt(*current, frameArea(), event->position());
    if (index >= 0) {
        setSelected(index);
        onActivated();
    }
}

void Canvas::keyPressEvent(QKeyEvent *event)
{
    const int right
        = (event->key() == Qt::Key_Right ? 1 : 0) - (event->key() == Qt::Key_Left ? 1 : 0);
    const int down = (event->key() == Qt::Key_Down ? 1 : 0) - (event->key() == Qt::Key_Up ? 1 : 0);
    Layer *layer = selectedLayer();
    if (layer == nullptr || (right == 0 && down == 0)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const bool large = event->modifiers().testFlag(Qt::ShiftModifier);
    place(*layer, nudgedBox(boxOf(*layer), right, down, large));
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
        setCursor(hit.layer >= 0 ? Qt::OpenHandCursor : Qt::ArrowCursor);
    }
}

} // namespace nimbara
