#pragma once

#include "document/canvas_geometry.h"
#include "document/scene.h"
#include "ui/kit/frame_painter.h"

#include <QImage>
#include <QWidget>

#include <cstdint>
#include <functional>

namespace nimbara {

/// The PREVIEW monitor: shows the composed picture, outlines the selected layer and lets the
/// operator select, move, resize and nudge layers. Geometry is written straight into the scene.
class Canvas : public QWidget {
    Q_OBJECT
public:
    explicit Canvas(QWidget *parent = nullptr);

    /// Where the scene being prepared is found, asked anew at each use: scenes come and go. Never
    /// empty; may return none.
    std::function<Scene *()> scene = [] { return nullptr; };

    /// The composed picture to show from now on.
    void setFrame(const QImage &frame);
    /// Width / height of the output frame. Clears the selection.
    void setAspect(double aspect);

    /// Index of the selected layer, −1 for none.
    [[nodiscard]] std::int32_t selected() const { return m_selected; }
    /// Selects a layer; an index outside the scene selects none. Calls `onSelectionChanged`.
    void setSelected(std::int32_t index);

    std::function<void()> onGeometryChanged = [] {};
    std::function<void()> onSelectionChanged = [] {};
    /// A layer was double-clicked.
    std::function<void()> onActivated = [] {};

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    enum class Mode : std::int32_t { Idle = 0, Moving = 1, Resizing = 2 };

    [[nodiscard]] QRectF frameArea() const;
    [[nodiscard]] Layer *selectedLayer() const;
    void selectAt(std::int32_t index);
    void place(Layer &layer, const Box &box);
    void showPointerShape(const Scene &scene, QPointF pointer);

    QImage m_frame;
    FramePainter m_framePainter;
    double m_aspect = 16.0 / 9.0;
    std::int32_t m_selected = -1;
    Mode m_mode = Mode::Idle;
    CanvasDrag m_drag;
};

} // namespace nimbara
