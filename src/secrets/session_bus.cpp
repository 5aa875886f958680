#include "secrets/session_bus.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
#include <gio/gio.h>

#include <memory>
#endif

namespace nimbara {

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)

namespace {

struct Waiting {
    QPointer<QObject> context;
    std::function<void(bool)> done;
};

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
};
using BusRef = std::unique_ptr<GDBusConnection, Unref>;

/// GLib hands out one connection as long as somebody holds it. Holding it keeps the next user from
/// opening another one, which would end the process again.
BusRef &heldBus()
{
    static BusRef bus;
    return bus;
}

void onBus(GObject * /*source*/, GAsyncResult *result, gpointer data)
{
    const std::unique_ptr<Waiting> waiting(static_cast<Waiting *>(data));
    BusRef bus(g_bus_get_finish(result, nullptr));
    const bool reachable = bus != nullptr && g_dbus_connection_is_closed(bus.get()) == FALSE;
    if (reachable) {
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
        heldBus() = std::move(bus);
    } else {
        heldBus().reset(); // a new bus gets a new connection
    }
    if (waiting->context) {
        QMetaObject::invokeMethod(waiting->context,
            [done = waiting->done, reachable] { done(reachable); });
    }
}

} // namespace

void withSessionBus(QObject *context, std::function<void(bool reachable)> done)
{
    auto waiting = std::make_unique<Waiting>(Waiting { context, std::move(done) });
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, &onBus, waiting.release());
}

#else

void withSessionBus(QObject *context, std::function<void(bool reachable)> done)
{
    QMetaObject::invokeMethod(
        context,
        [done = std::move(done)] { done(true); },
        Qt::QueuedConnection);
}

#endif

} // namespace nimbara
