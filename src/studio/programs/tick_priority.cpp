#include "studio/programs/tick_priority.h"

#include "base/log.h"

#if defined(Q_OS_LINUX)
#include <gio/gio.h>

#include <memory>
#include <unistd.h>
#endif

namespace nimbara {

#if defined(Q_OS_LINUX)

namespace {

constexpr gint32 niceness = -11; ///< within what the service gives, by default down to -15

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(GError *error) const { g_error_free(error); }
};
using ErrorRef = std::unique_ptr<GError, Unref>;

void tell(const ErrorRef &error)
{
    logLine(error
            ? QStringLiteral("Sin prioridad para la mezcla: ") + QString::fromUtf8(error->message)
            : QStringLiteral("La mezcla tiene prioridad sobre otros programas."));
}

void onAnswer(GObject *bus, GAsyncResult *result, gpointer /*data*/)
{
    GError *error = nullptr;
    const std::unique_ptr<GVariant, Unref> answer(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
    tell(ErrorRef(error));
}

void onConnection(GObject * /*source*/, GAsyncResult *result, gpointer thread)
{
    GError *error = nullptr;
    const std::unique_ptr<GDBusConnection, Unref> bus(g_bus_get_finish(result, &error));
    if (!bus) {
        tell(ErrorRef(error));
        return;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    g_dbus_connection_call(bus.get(),
        "org.freedesktop.RealtimeKit1",
        "/org/freedesktop/RealtimeKit1",
        "org.freedesktop.RealtimeKit1",
        "MakeThreadHighPriority",
        g_variant_new("(ti)", static_cast<guint64>(GPOINTER_TO_SIZE(thread)), niceness),
        nullptr,
        G_DBUS_CALL_FLAGS_NONE,
        -1,
        nullptr,
        onAnswer,
        nullptr);
}

} // namespace

void askForTickPriority()
{
    g_bus_get(G_BUS_TYPE_SYSTEM,
        nullptr,
        onConnection,
        GSIZE_TO_POINTER(static_cast<gsize>(gettid())));
}

#else

void askForTickPriority() { }

#endif

} // namespace nimbara
