#pragma once

namespace nimbara {

/// The factory name of the GStreamer element that captures an X11 screen: a live source of
/// video/x-raw BGRx at the screen's size, up to 60 pictures a second, 30 where nothing else is
/// asked for. It reconnects to nothing: when the server goes, it posts an error.
///
/// GStreamer's own element for this holds the X server for itself while it reads a picture. That
/// stops every other program at each picture, and two of them stop the computer for good: one holds
/// the server and waits for Xlib's lock, which the other holds while it waits for the server.
inline constexpr const char *x11ScreenSource = "x11screensrc";

/// Makes the element known to GStreamer; the first call does it. After `gst_init`, any thread.
void registerX11ScreenSource();

} // namespace nimbara
