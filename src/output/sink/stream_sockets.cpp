#include "output/sink/stream_sockets.h"

#include <QUrl>

#include <gio/gio.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace nimbara::stream_sockets {

namespace {

/// A connection, which a sink works on under a main context of its own.
class Connection {
public:
    Connection(GSocket *socket, GMainContext *context)
        : m_context(g_main_context_ref(context))
    {
        g_weak_ref_init(&m_socket, socket);
    }
    Q_DISABLE_COPY_MOVE(Connection)
    ~Connection()
    {
        g_weak_ref_clear(&m_socket);
        g_main_context_unref(m_context);
    }

    /// Whether nobody works on it any more; then it is closed.
    bool closeIfAbandoned()
    {
        auto *socket = static_cast<GSocket *>(g_weak_ref_get(&m_socket));
        if (socket == nullptr) {
            return true;
        }
        const bool isAbandoned = g_main_context_acquire(m_context) != FALSE;
        if (isAbandoned) {
            g_socket_close(socket, nullptr);
            g_main_context_release(m_context);
        }
        g_object_unref(socket);
        return isAbandoned;
    }

private:
    GWeakRef m_socket {};
    GMainContext *m_context;
};

using Host = std::pair<QByteArray, int>; ///< name and port

struct Registry {
    std::mutex mutex;
    std::set<Host> hosts;
    std::vector<std::unique_ptr<Connection>> connections;
};

Registry &registry()
{
    static Registry all;
    return all;
}

Host hostOf(const QUrl &url)
{
    const bool isSecure = url.scheme() == QLatin1String("rtmps");
    return { url.host().toUtf8().toLower(), url.port(isSecure ? 443 : 1935) };
}

void remember(GSocketConnectable *connectable, GIOStream *stream)
{
    GMainContext *context = g_main_context_get_thread_default();
    if (context == nullptr || !G_IS_NETWORK_ADDRESS(connectable)
        || !G_IS_SOCKET_CONNECTION(stream)) {
        return;
    }
    auto *address = G_NETWORK_ADDRESS(connectable);
    const Host host { QByteArray(g_network_address_get_hostname(address)).toLower(),
        g_network_address_get_port(address) };
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    if (all.hosts.contains(host)) {
        auto *socket = g_socket_connection_get_socket(G_SOCKET_CONNECTION(stream));
        all.connections.push_back(std::make_unique<Connection>(socket, context));
    }
}

/// Of a client: itself, what happens, where it connects to, and the connection.
gboolean onEvent(GSignalInvocationHint *, guint count, const GValue *values, gpointer)
{
    if (count == 4 && g_value_get_enum(values + 1) == G_SOCKET_CLIENT_CONNECTED) {
        remember(static_cast<GSocketConnectable *>(g_value_get_object(values + 2)),
            static_cast<GIOStream *>(g_value_get_object(values + 3)));
    }
    return TRUE;
}

} // namespace

void watch(const QString &location)
{
    static const gulong hook = [] {
        g_type_class_unref(g_type_class_ref(G_TYPE_SOCKET_CLIENT)); // its signals are known now
        const guint event = g_signal_lookup("event", G_TYPE_SOCKET_CLIENT);
        return g_signal_add_emission_hook(event, 0, onEvent, nullptr, nullptr);
    }();
    static_cast<void>(hook);
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    all.hosts.insert(hostOf(QUrl(location)));
}

void closeAbandoned()
{
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    std::erase_if(all.connections, [](const auto &each) { return each->closeIfAbandoned(); });
}

} // namespace nimbara::stream_sockets
