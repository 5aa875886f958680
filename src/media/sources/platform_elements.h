#pragma once

#include "media/gst/gst_handles.h"
#include "media/sources/screen_stream.h"

#include <string>
#include <utility>
#include <vector>

namespace nimbara {

/// One way to capture the screen: an element by factory name and the switches it needs.
struct ScreenElement {
    std::string factory;
    std::vector<std::pair<std::string, bool>> switches;
};

/// The ways to capture the screen, the preferred first.
using ScreenElements = std::vector<ScreenElement>;

/// What a graphical session tells about itself; see `currentSession`.
struct DesktopSession {
    std::string waylandDisplay;
    std::string xDisplay;
    std::string type; ///< "x11", "wayland" or empty
};

/// The session from WAYLAND_DISPLAY, DISPLAY and XDG_SESSION_TYPE.
DesktopSession currentSession();

/// No program sees the whole screen of such a session, unless the desktop grants it.
bool isWayland(const DesktopSession &session);

/// The ways that can see the whole screen of such a session.
///
/// The macOS element comes first; where it does not exist it is simply not made. X11's is offered
/// in X11 sessions only: on Wayland it would deliver the X server's own, black, root window as if
/// it were the screen, so there it is left out and screen capture is told to be unavailable.
ScreenElements screenElements(const DesktopSession &session = currentSession());

/// The first of the elements that this installation has, named "source"; none without one.
ElementRef makeScreenSource(const ScreenElements &elements);

/// An element for what the desktop grants, named "source"; none on an installation without it. The
/// desktop sends pictures when something changes; this repeats the last one.
ElementRef makeStreamSource(const ScreenStream &stream);

} // namespace nimbara
