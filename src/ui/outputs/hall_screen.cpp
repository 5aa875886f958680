#include "ui/outputs/hall_screen.h"

#include "base/i18n.h"

#include <QKeyEvent>
#include <QScreen>

namespace nimbara {

HallScreen::HallScreen()
{
    setWindowTitle(nimbara_i18n::tr("Ardenvale Vesperline · Programa"));
    setObjectName(QStringLiteral("hallWindow"));
    setWindowFlag(Qt::FramelessWindowHint);
    setCursor(Qt::BlankCursor);
    // The program goes on when the main window closes; this one alone never ends it.
    setAttribute(Qt::WA_QuitOnClose, false);
}

void HallScreen::showOn(QScreen &screen)
{
    // A window that was full screen elsewhere would keep that screen as its own.
    setWindowState(Qt::WindowNoState);
    setScreen(&screen);
    setGeometry(screen.geometry());
    showFullScreen();
    activateWindow();
    setFocus();
}

void HallScreen::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_F) {
        hide();
    } else {
        Picture::keyPressEvent(event);
    }
}

void HallScreen::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (isFullScreen()) {
        hide();
    } else {
        Picture::mouseDoubleClickEvent(event);
    }
}

} // namespace nimbara
