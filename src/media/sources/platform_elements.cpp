#include "media/sources/platform_elements.h"

#include "media/capture/device_pin.h"
#include "media/gst/gst_build.h"
#include "media/x11/x11_screen_source.h"

#include <QtGlobal>

namespace nimbara {

namespace {

constexpr int repeatMs = 1000;

} // namespace

DesktopSession currentSession()
{
    return { qgetenv("WAYLAND_DISPLAY").toStdString(),
        qgetenv("DISPLAY").toStdString(),
        qgetenv("XDG_SESSION_TYPE").toStdString() };
}

bool isWayland(const DesktopSession &session)
{
    return !session.waylandDisplay.empty() || session.type == "wayland";
}

ScreenElements screenElements(const DesktopSession &session)
{
    ScreenElements elements { { "avfvideosrc", { { "capture-screen", true } } } };
#ifdef NIMBARA_X11
    if (!isWayland(session) && !session.xDisplay.empty()) {
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

ElementRef makeStreamSource(const ScreenStream &stream)
{
    auto element = gst_build::make("pipewiresrc", "source");
    if (element) {
        g_object_set(element.get(),
            "fd",
            stream.remote(),
            "path",
            std::to_string(stream.node()).c_str(),
            "keepalive-time",
            repeatMs,
            nullptr);
        pinToDevice(element.get());
    }
    return element;
}

} // namespace nimbara
