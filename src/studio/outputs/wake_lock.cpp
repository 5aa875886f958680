#include "studio/outputs/wake_lock.h"

#include "base/log.h"

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <vector>
#endif

namespace nimbara {

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)

namespace {

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
};
using ConnectionRef = std::unique_ptr<GDBusConnection, Unref>;
using VariantRef = std::unique_ptr<GVariant, Unref>;

/// A service that takes an inhibition and gives something to return it by.
struct Service {
    const char *name;
    const char *path;
    const char *interface;
    const char *giveBack; ///< method with the cookie; null: `Close` of the request that was given
};

constexpr std::array services {
    Service { "org.freedesktop.ScreenSaver",
        "/org/freedesktop/ScreenSaver",
        "org.freedesktop.ScreenSaver",
        "UnInhibit" },
    Service { "org.freedesktop.PowerManagement",
        "/org/freedesktop/PowerManagement/Inhibit",
        "org.freedesktop.PowerManagement.Inhibit",
        "UnInhibit" },
};
constexpr Service portal { "org.freedesktop.portal.Desktop",
    "/org/freedesktop/portal/desktop",
    "org.freedesktop.portal.Inhibit",
    nullptr };
constexpr guint32 suspendAndIdle = 4 | 8; ///< flags of the portal
constexpr const char *reason = "Ardenvale Vesperline";

GVariant *inhibition(const Service &service)
{
    if (service.giveBack != nullptr) {
        return g_variant_new("(ss)", "Ardenvale Vesperline", reason);
    }
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "reason", g_variant_new_string(reason));
    return g_variant_new("(sua{sv})", "", suspendAndIdle, &options);
}

} // namespace

/// One hold: it goes on living while an answer is due, so that what is granted late is given back.
class WakeLock::Bus : public std::enable_shared_from_this<WakeLock::Bus> {
public:
    void begin() { g_bus_get(G_BUS_TYPE_SESSION, nullptr, &Bus::onConnection, keep()); }

    void end()
    {
        m_wanted = false;
        for (const guint watch : m_watches) {
            g_bus_unwatch_name(watch);
        }
        m_watches.clear();
        for (const Grant &grant : m_grants) {
            giveBack(*grant.service, grant.answer.get());
        }
        m_grants.clear();
    }

private:
    struct Grant {
        const Service *service;
        VariantRef answer; ///< with the cookie
    };
    struct Call {
        std::shared_ptr<Bus> bus;
        const Service *service;
    };

    gpointer keep() { return new std::shared_ptr<Bus>(shared_from_this()); }

    static void onConnection(GObject * /*source*/, GAsyncResult *result, gpointer data)
    {
        const std::unique_ptr<std::shared_ptr<Bus>> self(static_cast<std::shared_ptr<Bus> *>(data));
        (*self)->connected(ConnectionRef(g_bus_get_finish(result, nullptr)));
    }

    void connected(ConnectionRef connection)
    {
        m_connection = std::move(connection);
        if (!m_connection) {
            logLine(QStringLiteral("Sin bus de sesión: el escritorio puede apagar la pantalla."));
            return;
        }
        g_dbus_connection_set_exit_on_close(m_connection.get(), FALSE);
        if (!m_wanted) {
            return;
        }
        watch(portal);
        for (const Service &service : services) {
            watch(service);
            ask(service);
        }
    }

    /// A service that starts anew, as with its desktop's shell, knows of no inhibition.
    void watch(const Service &service)
    {
        m_watches.push_back(g_bus_watch_name_on_connection(m_connection.get(),
            service.name,
            G_BUS_NAME_WATCHER_FLAGS_NONE,
            &Bus::onAppeared,
            &Bus::onVanished,
            new Call { shared_from_this(), &service },
            [](gpointer data) { delete static_cast<Call *>(data); }));
    }

    static void onAppeared(GDBusConnection * /*connection*/,
        const gchar * /*name*/,
        const gchar * /*owner*/,
        gpointer data)
    {
        const auto &[bus, service] = *static_cast<Call *>(data);
        bus->appeared(*service);
    }

    static void onVanished(GDBusConnection * /*connection*/, const gchar * /*name*/, gpointer data)
    {
        const auto &[bus, service] = *static_cast<Call *>(data);
        bus->vanished(*service);
    }

    void appeared(const Service &service)
    {
        const auto isIts = [&service](const Grant &grant) { return grant.service == &service; };
        const bool isAsked = std::count(m_asked.begin(), m_asked.end(), &service) > 0;
        const bool isHeld = std::any_of(m_grants.begin(), m_grants.end(), isIts);
        const bool isSpare = &service == &portal && (!m_asked.empty() || !m_grants.empty());
        if (m_wanted && !isAsked && !isHeld && !isSpare) {
            ask(service);
        }
    }

    /// Nothing may be left that keeps the desktop awake then. The portal is started by the bus.
    void vanished(const Service &service)
    {
        const auto isIts = [&service](const Grant &grant) { return grant.service == &service; };
        const bool wasHeld = std::erase_if(m_grants, isIts) > 0;
        if (wasHeld && m_wanted && m_grants.empty() && m_asked.empty()) {
            ask(portal);
        }
    }

    void ask(const Service &service)
    {
        m_asked.push_back(&service);
        g_dbus_connection_call(m_connection.get(),
            service.name,
            service.path,
            service.interface,
            "Inhibit",
            inhibition(service),
            nullptr,
            G_DBUS_CALL_FLAGS_NONE,
            -1,
            nullptr,
            &Bus::onAnswer,
            new Call { shared_from_this(), &service });
    }

    static void onAnswer(GObject *source, GAsyncResult *result, gpointer data)
    {
        const std::unique_ptr<Call> call(static_cast<Call *>(data));
        VariantRef answer(g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection *>(source),
            result,
            nullptr));
        call->bus->answered(*call->service, std::move(answer));
    }

    void answered(const Service &service, VariantRef answer)
    {
        m_asked.erase(std::find(m_asked.begin(), m_asked.end(), &service));
        if (answer && !m_wanted) {
            giveBack(service, answer.get());
        } else if (answer) {
            m_grants.push_back({ &service, std::move(answer) });
        }
        if (!m_asked.empty() || !m_wanted || !m_grants.empty()) {
            return;
        }
        if (&service == &portal) {
            logLine(QStringLiteral("Ningún servicio evita que el escritorio apague la pantalla."));
        } else {
            ask(portal);
        }
    }

    void giveBack(const Service &service, GVariant *answer)
    {
        const bool isCookie = service.giveBack != nullptr;
        if (!g_variant_is_of_type(answer, G_VARIANT_TYPE(isCookie ? "(u)" : "(o)"))) {
            return;
        }
        const VariantRef given(g_variant_get_child_value(answer, 0));
        g_dbus_connection_call(m_connection.get(),
            service.name,
            isCookie ? service.path : g_variant_get_string(given.get(), nullptr),
            isCookie ? service.interface : "org.freedesktop.portal.Request",
            isCookie ? service.giveBack : "Close",
            isCookie ? g_variant_new("(u)", g_variant_get_uint32(given.get())) : nullptr,
            nullptr,
            G_DBUS_CALL_FLAGS_NONE,
            -1,
            nullptr,
            &Bus::onGivenBack,
            keep()); // the connection ends with the last hold, and with it what is not yet sent
    }

    static void onGivenBack(GObject *source, GAsyncResult *result, gpointer data)
    {
        const std::unique_ptr<std::shared_ptr<Bus>> self(static_cast<std::shared_ptr<Bus> *>(data));
        const VariantRef ignored(
            g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection *>(source),
                result,
                nullptr));
    }

    ConnectionRef m_connection;
    std::vector<Grant> m_grants;
    std::vector<const Service *> m_asked; ///< their answers are due
    std::vector<guint> m_watches; ///< of the services' names
    bool m_wanted = true;
};

#else

class WakeLock::Bus {
public:
    void begin() { }
    void end() { }
};

#endif

WakeLock::WakeLock(QObject *parent)
    : QObject(parent)
{
}

WakeLock::~WakeLock()
{
    setHeld(false);
}

void WakeLock::setHeld(bool held)
{
    if (held == m_held) {
        return;
    }
    m_held = held;
    if (held) {
        m_bus = std::make_shared<Bus>();
        m_bus->begin();
    } else {
        m_bus->end();
        m_bus.reset();
    }
}

} // namespace nimbara
