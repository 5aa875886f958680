#include "base/thread_priority.h"

#ifdef __linux__
#include <gio/gio.h>

#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#endif

#include <utility>

namespace nimbara {

#ifdef __linux__

namespace {

constexpr int givingNiceness = 4;

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(GError *error) const { g_error_free(error); }
};
using ErrorRef = std::unique_ptr<GError, Unref>;

struct Request {
    pid_t thread;
    int niceness;
    std::function<void(const QString &error)> told;
};
using RequestRef = std::unique_ptr<Request>;

void tell(const Request &request, const ErrorRef &error)
{
    const bool isTaken = error
        && setpriority(PRIO_PROCESS, static_cast<id_t>(request.thread), request.niceness) == 0;
    request.told(!error || isTaken ? QString() : QString::fromUtf8(error->message));
}

void onAnswer(GObject *bus, GAsyncResult *result, gpointer data)
{
    const RequestRef request(static_cast<Request *>(data));
    GError *error = nullptr;
    const std::unique_ptr<GVariant, Unref> answer(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
    tell(*request, ErrorRef(error));
}

void onConnection(GObject * /*source*/, GAsyncResult *result, gpointer data)
{
    RequestRef request(static_cast<Request *>(data));
    GError *error = nullptr;
    const std::unique_ptr<GDBusConnection, Unref> bus(g_bus_get_finish(result, &error));
    if (!bus) {
        tell(*request, ErrorRef(error));
        return;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    GVariant *arguments = g_variant_new("(ti)",
        static_cast<guint64>(request->thread),
        static_cast<gint32>(request->niceness));
    g_dbus_connection_call(bus.get(),
        "org.freedesktop.RealtimeKit1",
        "/org/freedesktop/RealtimeKit1",
        "org.freedesktop.RealtimeKit1",
        "MakeThreadHighPriority",
        arguments,
        nullptr,
        G_DBUS_CALL_FLAGS_NONE,
        -1,
        nullptr,
        onAnswer,
        request.release());
}

} // namespace

void askForPriority(int niceness, std::function<void(const QString &error)> told)
{
    auto request = std::make_unique<Request>(Request { gettid(), niceness, std::move(told) });
    g_bus_get(G_BUS_TYPE_SYSTEM, nullptr, onConnection, request.release());
}

void giveWayToOthers()
{
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), givingNiceness); // the thread alone
}

#else

void askForPriority(int /*niceness*/, std::function<void(const QString &error)> /*told*/) { }

void giveWayToOthers() { }

#endif

} // namespace nimbara
