#include "studio/sources/portal_bus.h"

#include "base/log.h"

#include <gio/gunixfdlist.h>

namespace nimbara {

namespace {

constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *screenCast = "org.freedesktop.portal.ScreenCast";
constexpr const char *sessionInterface = "org.freedesktop.portal.Session";

struct FreeError {
    void operator()(GError *error) const { g_error_free(error); }
};

/// What a method's answer is told to; the bus stays until then.
template <typename Then> struct Call {
    std::shared_ptr<PortalBus> bus;
    Then then;

    static gpointer make(std::shared_ptr<PortalBus> bus, Then then)
    {
        return new Call { std::move(bus), std::move(then) };
    }
    static std::unique_ptr<Call> taken(gpointer data)
    {
        return std::unique_ptr<Call>(static_cast<Call *>(data));
    }
};

void onAnswer(GObject *source, GAsyncResult *result, gpointer data)
{
    const auto call = Call<PortalBus::Answered>::taken(data);
    GError *error = nullptr;
    const VariantRef answer(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
    const std::unique_ptr<GError, FreeError> held(error);
    if (error != nullptr) {
        logLine(QStringLiteral("Captura de pantalla: ") + QString::fromUtf8(error->message));
    }
    if (call->then) {
        call->then(answer.get());
    }
}

void onRemote(GObject *source, GAsyncResult *result, gpointer data)
{
    const auto call = Call<std::function<void(int)>>::taken(data);
    GUnixFDList *found = nullptr;
    const VariantRef answer(
        g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(source),
            &found,
            result,
            nullptr));
    gint32 place = 0;
    if (answer) {
        g_variant_get(answer.get(), "(h)", &place);
    }
    call->then(answer && found != nullptr ? g_unix_fd_list_get(found, place, nullptr) : -1);
    g_clear_object(&found);
}

} // namespace

PortalOptions &PortalOptions::text(const char *key, const QString &value)
{
    return put(key, g_variant_new_string(value.toUtf8().constData()));
}

PortalOptions &PortalOptions::number(const char *key, guint32 value)
{
    return put(key, g_variant_new_uint32(value));
}

PortalOptions &PortalOptions::flag(const char *key, bool value)
{
    return put(key, g_variant_new_boolean(value ? TRUE : FALSE));
}

PortalOptions &PortalOptions::put(const char *key, GVariant *value)
{
    g_variant_builder_add(&m_builder, "{sv}", key, value);
    return *this;
}

QString newPortalToken()
{
    static int count = 0;
    return QStringLiteral("nimbara%1").arg(++count);
}

void PortalBus::open(std::function<void(const std::shared_ptr<PortalBus> &bus)> then)
{
    using Then = decltype(then);
    const auto opened = [](GObject * /*source*/, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<Then> told(static_cast<Then *>(data));
        GDBusConnection *connection = g_bus_get_finish(result, nullptr);
        if (connection != nullptr) {
            g_dbus_connection_set_exit_on_close(connection, FALSE);
        }
        (*told)(connection != nullptr ? std::make_shared<PortalBus>(connection) : nullptr);
    };
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, opened, new Then(std::move(then)));
}

void PortalBus::call(const char *interface,
    const char *method,
    GVariant *arguments,
    const char *answer,
    Answered then)
{
    g_dbus_connection_call(m_connection.get(),
        name,
        portalPath,
        interface,
        method,
        arguments,
        G_VARIANT_TYPE(answer),
        G_DBUS_CALL_FLAGS_NONE,
        -1,
        nullptr,
        &onAnswer,
        Call<Answered>::make(shared_from_this(), std::move(then)));
}

/// Its place is known before the call, so that no answer is too early; an old portal names another.
void PortalBus::request(const char *method,
    const Arguments &arguments,
    Responded responded,
    std::function<void()> refused)
{
    const QString token = newPortalToken();
    QString sender
        = QString::fromUtf8(g_dbus_connection_get_unique_name(m_connection.get())).mid(1);
    sender.replace(u'.', u'_');
    m_responded = std::move(responded);
    awaitResponse(QStringLiteral("%1/request/%2/%3").arg(QLatin1String(portalPath), sender, token));
    PortalOptions options;
    options.text("handle_token", token);
    const auto answered = [this, refused = std::move(refused)](GVariant *answer) {
        if (answer == nullptr) {
            refused();
            return;
        }
        const gchar *path = nullptr;
        g_variant_get(answer, "(&o)", &path);
        if (m_responded && m_awaited.back() != QString::fromUtf8(path)) {
            awaitResponse(QString::fromUtf8(path));
        }
    };
    call(screenCast, method, arguments(options), "(o)", answered);
}

void PortalBus::awaitResponse(const QString &path)
{
    m_awaited.push_back(path);
    subscribe(path, "org.freedesktop.portal.Request", "Response", [this](GVariant *arguments) {
        respond(arguments);
    });
}

void PortalBus::respond(GVariant *arguments)
{
    if (!m_responded || g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})")) == FALSE) {
        return;
    }
    guint32 code = 0;
    GVariant *found = nullptr;
    g_variant_get(arguments, "(u@a{sv})", &code, &found);
    const VariantRef results(found);
    unsubscribe();
    std::exchange(m_responded, nullptr)(code, results.get());
}

void PortalBus::openRemote(const QString &session, std::function<void(int remote)> then)
{
    PortalOptions options;
    g_dbus_connection_call_with_unix_fd_list(m_connection.get(),
        name,
        portalPath,
        screenCast,
        "OpenPipeWireRemote",
        g_variant_new("(o@a{sv})", session.toUtf8().constData(), options.take()),
        G_VARIANT_TYPE("(h)"),
        G_DBUS_CALL_FLAGS_NONE,
        -1,
        nullptr,
        nullptr,
        &onRemote,
        Call<std::function<void(int)>>::make(shared_from_this(), std::move(then)));
}

/// The connection ends with the last bus, and with it what is not yet sent: this one stays.
void PortalBus::close(const QString &session)
{
    g_dbus_connection_call(m_connection.get(),
        name,
        session.toUtf8().constData(),
        sessionInterface,
        "Close",
        nullptr,
        nullptr,
        G_DBUS_CALL_FLAGS_NONE,
        -1,
        nullptr,
        &onAnswer,
        Call<Answered>::make(shared_from_this(), nullptr));
}

void PortalBus::onClosed(const QString &session, std::function<void()> then)
{
    subscribe(session, sessionInterface, "Closed", [then = std::move(then)](GVariant *) {
        then();
    });
}

void PortalBus::onGone(std::function<void()> then)
{
    using Gone = std::pair<std::weak_ptr<PortalBus>, std::function<void()>>;
    const auto vanished = [](GDBusConnection *, const gchar *, gpointer data) {
        const auto [bus, told] = *static_cast<Gone *>(data); // it may end the watch
        if (const auto held = bus.lock()) {
            told();
        }
    };
    m_watch = g_bus_watch_name_on_connection(m_connection.get(),
        name,
        G_BUS_NAME_WATCHER_FLAGS_NONE,
        nullptr,
        vanished,
        new Gone(weak_from_this(), std::move(then)),
        [](gpointer data) { delete static_cast<Gone *>(data); });
}

void PortalBus::subscribe(const QString &path,
    const char *interface,
    const char *signal,
    Signalled then)
{
    using Heard = std::pair<std::weak_ptr<PortalBus>, Signalled>;
    const auto heard = [](GDBusConnection *,
                           const gchar *,
                           const gchar *,
                           const gchar *,
                           const gchar *,
                           GVariant *arguments,
                           gpointer data) {
        const auto [bus, told] = *static_cast<Heard *>(data); // it may end the subscription
        if (const auto held = bus.lock()) {
            told(arguments);
        }
    };
    m_subscriptions.push_back(g_dbus_connection_signal_subscribe(m_connection.get(),
        name,
        interface,
        signal,
        path.toUtf8().constData(),
        nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        heard,
        new Heard(weak_from_this(), std::move(then)),
        [](gpointer data) { delete static_cast<Heard *>(data); }));
}

void PortalBus::unsubscribe()
{
    for (const guint subscription : std::exchange(m_subscriptions, {})) {
        g_dbus_connection_signal_unsubscribe(m_connection.get(), subscription);
    }
    m_awaited.clear();
}

void PortalBus::ignore()
{
    m_responded = nullptr;
    unsubscribe();
    if (const guint watch = std::exchange(m_watch, 0)) {
        g_bus_unwatch_name(watch);
    }
}

} // namespace nimbara
