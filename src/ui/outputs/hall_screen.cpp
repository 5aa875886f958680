#include "ui/outputs/hall_screen.h"

#include "base/i18n.h"
#include "ui/kit/key_map.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>

#include <algorithm>

namespace nimbara {

bool areMirrored(const QScreen &one, const QScreen &other)
{
    return one.geometry().intersects(other.geometry());
}

int separateScreens()
{
    QList<const QScreen *> separate;
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (std::none_of(separate.begin(), separate.end(), [screen](const QScreen *other) {
                return areMirrored(*screen, *other);
            })) {
            separate << screen;
        }
    }
    return static_cast<int>(separate.size());
}

HallScreen::HallScreen()
{
    setWindowTitle(nimbara_i18n::tr("Ardenvale Vesperline · Programa"));
    setObjectName(QStringLiteral("hallWindow"));
    setWindowFlag(Qt::FramelessWindowHint);
    setWindowFlag(Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
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
    raise();
}

void HallScreen::changeEvent(QEvent *event)
{
    Picture::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
        Q_EMIT activated();
    }
}

void HallScreen::keyPressEvent(QKeyEvent *event)
{
    if (!event->isAutoRepeat()) {
        Q_EMIT keyPressed(sequenceOf(*event));
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
