#pragma once

#include "ui/kit/frame_painter.h"

#include <QImage>
#include <QWidget>

#include <functional>

namespace nimbara {

/// A read-only frame display: the picture fitted into the widget on black. Used for the program
/// monitors and, as a top-level window, for the hall screens.
class Picture : public QWidget {
    Q_OBJECT
public:
    explicit Picture(QWidget *parent = nullptr);

    /// The picture to show from now on. Does nothing when it is the one already shown.
    void setFrame(const QImage &frame);

    /// Run whenever the widget is hidden. Never empty.
    std::function<void()> onHidden = [] {};

protected:
    void paintEvent(QPaintEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QImage m_frame;
    FramePainter m_framePainter;
};

/// The largest rectangle of `content`'s shape inside `area`, centred.
QRectF fittedRect(const QSizeF &content, const QRectF &area);

} // namespace nimbara
