#include "media/sources/platform_elements.h"

#include "media/gst/gst_build.h"
#include "media/x11/x11_screen_source.h"

#include <QtGlobal>

namespace nimbara {

DesktopSession currentSession()
{
    return { qgetenv("WAYLAND_DISPLAY").toStdString(),
        qgetenv("DISPLAY").toStdString(),
        qgetenv("XDG_SESSION_TYPE").toStdString() };
}

ScreenElements screenElements(const DesktopSession &session)
{
    ScreenElements elements { { "avfvideosrc", { { "capture-screen", true } } } };
#ifdef NIMBARA_X11
    const bool wayland = !session.waylandDisplay.empty() || session.type == "wayland";
    if (!wayland && !session.xDisplay.empty()) {
        registerX11ScreenSource();
        elements.push_back({ x11ScreenSource, {} });
    }
#else
    static_cast<void>(session);
#endif
    return elements;
}

ElementRef makeScreenSource(const ScreenElements &elements)
{
    for (const ScreenElement &candidate : elements) {
        if (auto element = gst_build::make(candidate.factory.c_str(), "source")) {
            for (const auto &[name, on] : candidate.switches) {
                g_object_set(element.get(), name.c_str(), static_cast<gboolean>(on), nullptr);
            }
            return element;
        }
    }
    return {};
}

} // namespace nimbara
