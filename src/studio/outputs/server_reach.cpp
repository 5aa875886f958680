#include "studio/outputs/server_reach.h"

#include <QUrl>

#include <gio/gio.h>

#include <memory>

namespace nimbara {

namespace {

constexpr guint patience = 2; // s: the system asks twice, a second apart
constexpr int rtmpPort = 1935;
constexpr int rtmpsPort = 443;

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T> using ObjectRef = std::unique_ptr<T, Unref>;

} // namespace

bool isReachable(const QString &server)
{
    const QUrl url(server.trimmed());
    const bool isSecure = url.scheme() == QLatin1String("rtmps");
    const ObjectRef<GSocketConnectable> address(
        g_network_address_new(url.host(QUrl::FullyEncoded).toUtf8().constData(),
            static_cast<guint16>(url.port(isSecure ? rtmpsPort : rtmpPort))));
    const ObjectRef<GSocketClient> client(g_socket_client_new());
    g_socket_client_set_timeout(client.get(), patience);
    const ObjectRef<GSocketConnection> connection(
        g_socket_client_connect(client.get(), address.get(), nullptr, nullptr));
    return connection != nullptr;
}

} // namespace nimbara
