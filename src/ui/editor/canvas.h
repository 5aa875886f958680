#pragma once

#include "document/group_geometry.h"
#include "document/profile.h"
#include "document/scene.h"
#include "ui/editor/canvas_view.h"
#include "ui/editor/layer_selection.h"
#include "ui/kit/frame_painter.h"

#include <QElapsedTimer>
#include <QImage>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <vector>

class QNativeGestureEvent;
class QPinchGesture;

namespace nimbara {

/// The PREVIEW monitor: shows the composed picture, outlines the selected layers and lets the
/// operator select, move, scale and nudge them together. What is dragged comes to rest on edges,
/// centres and other layers. The view can be zoomed and moved. It tells where layers are to go and
/// changes nothing itself.
class Canvas : public QWidget {
    Q_OBJECT
public:
    explicit Canvas(QWidget *parent = nullptr);

    /// The scene being prepared, asked anew at each use. Never empty.
    std::function<ScenePtr()> scene = [] { return ScenePtr(); };
    /// The size of the output, whose pixels a nudge counts. Never empty.
    std::function<FrameSize()> outputSize = [] { return landscapeSize; };

    /// The composed picture to show from now on.
    void setFrame(const QImage &frame);
    /// Width / height of the output frame. Ends a drag.
    void setAspect(double aspect);

    [[nodiscard]] const LayerSelection &selection() const { return m_selection; }
    /// The current one of the selected layers, or none. It may have gone from the scene.
    [[nodiscard]] LayerId selected() const { return m_selection.current(); }
    /// Selects layers; those that are not in the scene do not count.
    void setSelection(const LayerSelection &selection);
    /// Selects one layer.
    void setSelected(LayerId layer) { setSelection(LayerSelection(layer)); }

    /// Moves what is selected by pixels of the output.
    void nudge(int right, int down);
    /// Whether a nudge would move something.
    [[nodiscard]] bool canNudge() const { return !movable().empty(); }
    /// Whether drags come to rest on things; Alt held is never.
    void setSnapping(bool on) { m_snaps = on; }
    /// Zooms by a factor about the middle; 0: the whole frame again.
    void zoom(double factor);
    /// Where the frame lies in the widget.
    [[nodiscard]] QRectF frameArea() const;

Q_SIGNALS:
    void selectionChanged();
    /// The operator moved or scaled the layers.
    void placed(const nimbara::Placements &placements);
    /// Enclose a drag.
    void dragBegan();
    void dragEnded();
    /// A layer was double-clicked.
    void activated();
    /// What is done with the selected layers is wanted as a menu at a point of the screen.
    void menuWanted(QPoint place);
    /// The space bar was tapped, not held for a pan: what it means elsewhere is wanted.
    void spaceTapped();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    enum class Mode : std::int32_t { Idle, Moving, Resizing, Banding, Panning };
    enum class Space : std::int32_t { Up, Held, Used }; ///< used: for a pan

    [[nodiscard]] GroupParts movable() const;
    [[nodiscard]] Handle handleUnder(QPointF pointer) const;
    void choose(LayerId layer, Qt::KeyboardModifiers modifiers);
    void beginDrag(Handle handle, QPointF press);
    void beginBand(QPointF press, bool adds);
    void stretchBand(QPointF pointer);
    void drag(QMouseEvent *event);
    void endDrag();
    void showPointerShape(QPointF pointer);
    void zoomAt(QPointF pointer, double factor);
    bool pinch(const QNativeGestureEvent &gesture);
    void pinch(const QPinchGesture &gesture);
    void paintSelection(QPainter &painter, const QRectF &area) const;

    QImage m_frame;
    FramePainter m_framePainter;
    CanvasView m_view;
    LayerSelection m_selection;
    Mode m_mode = Mode::Idle;
    GroupDrag m_drag;
    bool m_snaps = true;
    std::vector<SnapGuide> m_guides;
    LayerId m_clicked; ///< of several selected ones; alone selected if it is not dragged
    QPointF m_press;
    QRectF m_band; ///< empty until the press has become a drag
    LayerSelection m_bandBase; ///< what was selected before it
    Space m_space = Space::Up;
    QElapsedTimer m_spaceHeld;
};

} // namespace nimbara
