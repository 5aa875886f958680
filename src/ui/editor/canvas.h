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
/// operator select, move, resize and nudge layers. It tells where a layer is to go and changes
/// nothing itself.
class Canvas : public QWidget {
    Q_OBJECT
public:
    explicit Canvas(QWidget *parent = nullptr);

    /// The scene being prepared, asked anew at each use. Never empty.
    std::function<ScenePtr()> scene = [] { return ScenePtr(); };

    /// The composed picture to show from now on.
    void setFrame(const QImage &frame);
    /// Width / height of the output frame. Ends a drag.
    void setAspect(double aspect);

    /// The selected layer, or none. It may have gone from the scene.
    [[nodiscard]] LayerId selected() const { return m_selected; }
    /// Selects a layer; one that is not in the scene selects none.
    void setSelected(LayerId layer);

Q_SIGNALS:
    void selectionChanged();
    /// The operator moved or resized the layer.
    void placed(nimbara::LayerId layer, const nimbara::Box &box);
    /// Enclose a drag.
    void dragBegan();
    void dragEnded();
    /// A layer was double-clicked.
    void activated();

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
    void selectAt(LayerId layer);
    void endDrag();
    void showPointerShape(const Scene &scene, QPointF pointer);

    QImage m_frame;
    FramePainter m_framePainter;
    double m_aspect = 16.0 / 9.0;
    LayerId m_selected;
    Mode m_mode = Mode::Idle;
    CanvasDrag m_drag;
};

} // namespace nimbara
