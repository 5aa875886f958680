#include "media/sources/network_source.h"

#include "media/gst/bus_error.h"

#include <cstring>
#include <memory>
#include <optional>
#include <utility>

namespace nimbara {

namespace {

constexpr guint64 connectPatienceUs = 8'000'000;
constexpr guint unauthorized = 401; ///< of HTTP (RFC 9110)
constexpr int demuxLatencyMs = 100; ///< of a transport stream, beyond what its time stamps ask for

bool isMadeBy(GstElement *element, const char *factory)
{
    const GstElementFactory *made = gst_element_get_factory(element);
    return made != nullptr && std::strcmp(GST_OBJECT_NAME(made), factory) == 0;
}

bool has(GstElement *element, const char *property)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), property) != nullptr;
}

/// The properties that take user and password, if any.
std::optional<std::pair<const char *, const char *>> loginProperties(GstElement *source)
{
    for (const auto &names :
        { std::pair { "user-id", "user-pw" }, std::pair { "username", "password" } }) {
        if (has(source, names.first) && has(source, names.second)) {
            return names;
        }
    }
    return std::nullopt;
}

void giveLogin(GstElement *source, const Login &login)
{
    if (login.isEmpty()) {
        return;
    }
    if (const auto names = loginProperties(source)) {
        g_object_set(source,
            names->first,
            login.user.toUtf8().constData(),
            names->second,
            login.password.toUtf8().constData(),
            nullptr);
    } else if (isMadeBy(source, "srtsrc")) {
        g_object_set(source, "passphrase", login.password.toUtf8().constData(), nullptr);
    }
}

/// Whoever tells of the error can be given a login.
bool isFromLoginTaker(GstMessage *message)
{
    if (!GST_IS_ELEMENT(GST_MESSAGE_SRC(message))) {
        return false;
    }
    GstElement *teller = GST_ELEMENT_CAST(GST_MESSAGE_SRC(message));
    return loginProperties(teller).has_value() || isMadeBy(teller, "srtsrc");
}

/// What an HTTP server answered; 0 for an error of anything else.
guint httpStatus(GstMessage *message)
{
    const GstStructure *details = nullptr;
    gst_message_parse_error_details(message, &details);
    guint status = 0;
    if (details != nullptr) {
        gst_structure_get_uint(details, "http-status-code", &status);
    }
    return status;
}

/// Cameras offer descriptions of what they see beside picture and sound, which nothing decodes. On
/// a thread of the source.
gboolean isWanted(GstElement * /*source*/, guint /*number*/, GstCaps *caps, gpointer /*data*/)
{
    const gchar *media = gst_structure_get_string(gst_caps_get_structure(caps, 0), "media");
    return static_cast<gboolean>(media == nullptr || std::strcmp(media, "application") != 0);
}

/// On a thread of the decoder.
void sourceMade(GstElement * /*decoder*/, GstElement *source, gpointer data)
{
    const auto &access = *static_cast<const NetworkAccess *>(data);
    if (isMadeBy(source, "rtspsrc")) {
        gst_util_set_object_arg(G_OBJECT(source), "protocols", "tcp");
        g_object_set(source,
            "latency",
            static_cast<guint>(access.latencyMs),
            "drop-on-latency",
            TRUE,
            "tcp-timeout",
            connectPatienceUs,
            nullptr);
        g_signal_connect(source, "select-stream", G_CALLBACK(&isWanted), nullptr);
    } else if (isMadeBy(source, "srtsrc")) {
        g_object_set(source, "latency", access.latencyMs, "auto-reconnect", FALSE, nullptr);
    }
    giveLogin(source, access.login);
}

/// On a thread of the decoder. A demultiplexer of a live stream waits longer by itself than any
/// network needs; a decoder that comes into the middle of a stream makes grey pictures up to its
/// next key frame.
void partMade(GstBin * /*decoder*/, GstBin * /*within*/, GstElement *part, gpointer /*data*/)
{
    if (isMadeBy(part, "tsdemux")) {
        g_object_set(part, "latency", demuxLatencyMs, nullptr);
    } else if (has(part, "output-corrupt")) {
        g_object_set(part, "output-corrupt", FALSE, nullptr);
    }
}

} // namespace

bool isLiveCamera(const QString &location)
{
    const QString scheme = location.section(u':', 0, 0);
    return scheme == QLatin1String("rtsp") || scheme == QLatin1String("rtsps")
        || scheme == QLatin1String("srt");
}

void prepareNetworkSource(const ElementRef &decoder, NetworkAccess access)
{
    auto held = std::make_unique<NetworkAccess>(std::move(access));
    g_signal_connect_data(
        decoder.get(),
        "source-setup",
        G_CALLBACK(&sourceMade),
        held.release(),
        [](gpointer data, GClosure *) { delete static_cast<NetworkAccess *>(data); },
        GConnectFlags {});
    g_signal_connect(decoder.get(), "deep-element-added", G_CALLBACK(&partMade), nullptr);
}

bool asksForLogin(GstMessage *message)
{
    const auto [error, debug] = busError(message);
    if (!error || error->domain != GST_RESOURCE_ERROR || !isFromLoginTaker(message)) {
        return false;
    }
    // A payment or a proxy's login that is wanted, or a door that is shut, has the same code.
    if (const guint status = httpStatus(message); status != 0) {
        return status == unauthorized;
    }
    // The SRT source tells of it in words alone.
    return error->code == GST_RESOURCE_ERROR_NOT_AUTHORIZED
        || (debug && std::strstr(debug.get(), "Failed to authenticate") != nullptr);
}

} // namespace nimbara
