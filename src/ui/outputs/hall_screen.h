#pragma once

#include "ui/kit/picture.h"

#include <QKeySequence>

class QScreen;

namespace nimbara {

/// Both show the same place of the desktop, or a part of it, as a mirrored projector does.
bool areMirrored(const QScreen &one, const QScreen &other);
/// How many screens the desktop has that show something of their own.
int separateScreens();

/// The window that the congregation sees: the hall program, full screen on one monitor, without a
/// pointer. It takes frames while hidden as well, so that it never opens on a stale one.
class HallScreen : public Picture {
    Q_OBJECT
public:
    HallScreen();

    /// Covers the screen with the window, which never takes the keyboard from the studio.
    void showOn(QScreen &screen);

Q_SIGNALS:
    /// A desktop that asks no window has given it the keyboard all the same.
    void activated();
    /// A key that arrived here was meant for the studio. One that is held down is one press.
    void keyPressed(const QKeySequence &key);

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    /// A double click hides it while it is full screen.
    void mouseDoubleClickEvent(QMouseEvent *event) override;
};

} // namespace nimbara
