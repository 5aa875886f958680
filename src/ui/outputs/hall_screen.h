#pragma once

#include "ui/kit/picture.h"

class QScreen;

namespace nimbara {

/// The window that the congregation sees: the hall program, full screen on one monitor, without a
/// pointer. It takes frames while hidden as well, so that it never opens on a stale one.
class HallScreen : public Picture {
    Q_OBJECT
public:
    HallScreen();

    /// Covers the screen with the window, which never takes the keyboard from the studio.
    void showOn(QScreen &screen);

protected:
    /// A double click hides it while it is full screen.
    void mouseDoubleClickEvent(QMouseEvent *event) override;
};

} // namespace nimbara
