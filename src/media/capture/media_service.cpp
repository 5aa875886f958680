#include "media/capture/media_service.h"

#include "media/gst/gst_handles.h"

#include <QByteArray>
#include <QtGlobal>

#include <mutex>
#include <utility>

#if defined(Q_OS_LINUX)
#include <algorithm>
#include <iterator>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#endif

namespace nimbara {

#if defined(Q_OS_LINUX)

namespace {

/// A connection to the service, which says nothing on it before it is spoken to; −1 without one.
int connectToService()
{
    // As the service's own library finds it.
    const QByteArray remote = qEnvironmentVariableIsEmpty("PIPEWIRE_REMOTE")
        ? QByteArrayLiteral("pipewire-0")
        : qgetenv("PIPEWIRE_REMOTE");
    const QByteArray folder = qEnvironmentVariableIsEmpty("PIPEWIRE_RUNTIME_DIR")
        ? qgetenv("XDG_RUNTIME_DIR")
        : qgetenv("PIPEWIRE_RUNTIME_DIR");
    const QByteArray path = remote.startsWith('/') ? remote : folder + '/' + remote;
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
        return -1;
    }
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    const int line = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (line >= 0
        && ::connect(line, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(line);
        return -1;
    }
    return line;
}

/// A connection that is kept and never used: it ends with the service.
struct Watch {
    std::mutex mutex;
    int line = -1;
    bool hasEnded = false;
};

Watch &watch()
{
    static Watch instance;
    return instance;
}

/// The name that a device keeps from one service to the next; empty for those of others.
QByteArray lastingName(GstDevice *device)
{
    const StructurePtr properties(gst_device_get_properties(device));
    const gchar *name
        = properties ? gst_structure_get_string(properties.get(), "node.name") : nullptr;
    return name;
}

} // namespace

void watchMediaService()
{
    Watch &watched = watch();
    const std::lock_guard lock(watched.mutex);
    if (watched.line < 0 && !watched.hasEnded) {
        watched.line = connectToService();
    }
}

bool hasMediaServiceEnded()
{
    Watch &watched = watch();
    const std::lock_guard lock(watched.mutex);
    pollfd state { watched.line, 0, 0 };
    if (watched.line >= 0 && ::poll(&state, 1, 0) > 0) {
        ::close(std::exchange(watched.line, -1));
        watched.hasEnded = true;
    }
    return watched.hasEnded;
}

void reconnectToService(GstElement *element, GstDevice *device)
{
    if (element == nullptr || !hasMediaServiceEnded()) {
        return;
    }
    const QByteArray name = lastingName(device);
    auto *of = G_OBJECT_GET_CLASS(element);
    const bool isIts = g_object_class_find_property(of, "fd") != nullptr
        && g_object_class_find_property(of, "target-object") != nullptr;
    const int line = isIts && !name.isEmpty() ? connectToService() : -1;
    if (line < 0) {
        return;
    }
    g_object_set(element, "fd", line, "target-object", name.constData(), nullptr);
    // The plug-in tells connections apart by this number: it is kept as long as the element.
    g_object_set_data_full(G_OBJECT(element),
        "nimbara-connection",
        GINT_TO_POINTER(line),
        [](gpointer kept) { ::close(GPOINTER_TO_INT(kept)); });
}

#else

void watchMediaService() { }

bool hasMediaServiceEnded()
{
    return false;
}

void reconnectToService(GstElement * /*element*/, GstDevice * /*device*/) { }

#endif

} // namespace nimbara
