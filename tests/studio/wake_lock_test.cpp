#include "base/log.h"
#include "studio/outputs/wake_lock.h"
#include "support/test_registry.h"

#include <QFile>
#include <QStringList>

#include <gio/gio.h>

#include <deque>

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *idleXml
    = "<node><interface name='org.freedesktop.ScreenSaver'>"
      "<method name='Inhibit'><arg type='s' direction='in'/><arg type='s' direction='in'/>"
      "<arg type='u' direction='out'/></method>"
      "<method name='UnInhibit'><arg type='u' direction='in'/></method></interface></node>";
constexpr const char *portalXml
    = "<node><interface name='org.freedesktop.portal.Inhibit'>"
      "<method name='Inhibit'><arg type='s' direction='in'/><arg type='u' direction='in'/>"
      "<arg type='a{sv}' direction='in'/><arg type='o' direction='out'/></method></interface>"
      "<interface name='org.freedesktop.portal.Request'><method name='Close'/></interface></node>";
constexpr const char *request = "/org/freedesktop/portal/desktop/request/1";

/// A service of the desktop on the session bus; it answers when it is told to.
class Service {
public:
    Service(const char *name, const char *xml, std::initializer_list<const char *> paths)
    {
        char *address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        const auto flags = GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
            | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        m_bus = g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, nullptr);
        g_free(address);
        m_node = g_dbus_node_info_new_for_xml(xml, nullptr);
        static const GDBusInterfaceVTable table { &Service::onCall, nullptr, nullptr, {} };
        GDBusInterfaceInfo **face = m_node->interfaces;
        for (const char *path : paths) {
            g_dbus_connection_register_object(m_bus, path, *face, &table, this, nullptr, nullptr);
            face += face[1] != nullptr ? 1 : 0;
        }
        m_name = g_bus_own_name_on_connection(m_bus,
            name,
            G_BUS_NAME_OWNER_FLAGS_NONE,
            &Service::onName,
            nullptr,
            this,
            nullptr);
    }
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;
    ~Service()
    {
        g_bus_unown_name(m_name);
        g_dbus_connection_close_sync(m_bus, nullptr, nullptr);
        g_dbus_node_info_unref(m_node);
        g_object_unref(m_bus);
    }
    void answer(GVariant *value)
    {
        g_dbus_method_invocation_return_value(waiting.front(), value);
        waiting.pop_front();
    }

    bool ready = false;
    QStringList calls; ///< method and arguments
    std::deque<GDBusMethodInvocation *> waiting;

private:
    static void onName(GDBusConnection *, const char *, gpointer self)
    {
        static_cast<Service *>(self)->ready = true;
    }
    static void onCall(GDBusConnection *,
        const char *,
        const char *,
        const char *,
        const char *method,
        GVariant *given,
        GDBusMethodInvocation *call,
        gpointer data)
    {
        auto *self = static_cast<Service *>(data);
        char *text = g_variant_print(given, FALSE);
        self->calls << QString::fromUtf8(method) + QString::fromUtf8(text);
        g_free(text);
        self->waiting.push_back(call);
    }
    GDBusConnection *m_bus;
    GDBusNodeInfo *m_node;
    guint m_name;
};

} // namespace

class WakeLockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QFile::remove(logFilePath()); }

    /// Granted in time or only after it was given back: nothing stays inhibited.
    void isGivenBackHoweverLateItIsGranted()
    {
        Service desktop("org.freedesktop.ScreenSaver", idleXml, { "/org/freedesktop/ScreenSaver" });
        QTRY_VERIFY(desktop.ready);
        for (const bool late : { false, true }) {
            desktop.calls.clear();
            WakeLock lock;
            lock.setHeld(true);
            lock.setHeld(true);
            QTRY_COMPARE(desktop.waiting.size(), 1U);
            if (late) {
                lock.setHeld(false);
                desktop.answer(g_variant_new("(u)", 7));
            } else {
                desktop.answer(g_variant_new("(u)", 7));
                QTest::qWait(0);
                QTRY_COMPARE(desktop.calls.size(), 1); // held
                lock.setHeld(false);
            }
            QTRY_COMPARE(desktop.calls.last(), u"UnInhibit(7,)"_s);
            desktop.answer(nullptr);
            QCOMPARE(desktop.calls.size(), 2);
        }
    }

    void asksThePortalWhereThereIsNoOther()
    {
        Service portal("org.freedesktop.portal.Desktop",
            portalXml,
            { "/org/freedesktop/portal/desktop", request });
        QTRY_VERIFY(portal.ready);
        {
            WakeLock lock;
            lock.setHeld(true);
            QTRY_COMPARE(portal.waiting.size(), 1U);
            QVERIFY(portal.calls[0].startsWith(u"Inhibit('', 12, "_s));
            portal.answer(g_variant_new("(o)", request));
            // The answer travels another way than the end of the hold.
            QTRY_VERIFY(g_main_context_pending(nullptr) == FALSE);
        }
        QTRY_COMPARE(portal.calls.last(), u"Close()"_s);
        portal.answer(nullptr);
    }

    void withoutAServiceTheLogSaysSo()
    {
        WakeLock lock;
        lock.setHeld(true);
        const auto log = [] {
            QFile file(logFilePath());
            return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        };
        QTRY_VERIFY(log().contains(u"Ningún servicio evita"_s));
    }
};

NIMBARA_TEST(WakeLockTest)
#include "wake_lock_test.moc"
