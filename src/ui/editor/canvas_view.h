#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace nimbara {

/// Which part of the frame the canvas shows, and how large. A value; points are widget pixels.
class CanvasView {
public:
    static constexpr double least = 0.5; ///< zoom; 1: the frame fits
    static constexpr double most = 8;

    /// Width / height of the frame.
    void setAspect(double aspect);
    [[nodiscard]] double zoom() const { return m_zoom; }
    [[nodiscard]] bool isFitted() const { return m_zoom == 1; }

    /// Where the frame lies in a widget of that size.
    [[nodiscard]] QRectF frameIn(QSizeF widget) const;
    /// Zooms by a factor; what is under the pointer stays there, as far as the frame fills the
    /// widget.
    void zoomAt(QPointF pointer, double factor, QSizeF widget);
    /// Moves the picture with the hand.
    void pan(QPointF by, QSizeF widget);
    /// The whole frame again.
    void fit();

private:
    void settle(QSizeF widget);

    double m_aspect = 16.0 / 9.0;
    double m_wanted = 1; ///< zoom, by small steps
    double m_zoom = 1;
    QPointF m_shift; ///< of the frame's centre, in shares of the frame that fits
};

} // namespace nimbara
