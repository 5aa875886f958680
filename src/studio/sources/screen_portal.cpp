#include "studio/sources/screen_portal.h"

#include "base/log.h"

#include <utility>

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <functional>
#include <vector>
#endif

namespace nimbara {

namespace {

const auto tokenSetting = QStringLiteral("screen_capture_token");

} // namespace

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)

namespace {

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GUnixFDList *list) const { g_object_unref(list); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(GError *error) const { g_error_free(error); }
};
using ConnectionRef = std::unique_ptr<GDBusConnection, Unref>;
using VariantRef = std::unique_ptr<GVariant, Unref>;
using ErrorRef = std::unique_ptr<GError, Unref>;
using FdListRef = std::unique_ptr<GUnixFDList, Unref>;

constexpr const char *portalName = "org.freedesktop.portal.Desktop";
constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *screenCast = "org.freedesktop.portal.ScreenCast";
constexpr guint32 monitorsAndWindows = 1 | 2;
constexpr guint32 cursorInPicture = 2;
constexpr guint32 untilRevoked = 2; ///< how long the choice is remembered

/// The options of a call, a dictionary.
class Options {
public:
    Options() { g_variant_builder_init(&m_builder, G_VARIANT_TYPE_VARDICT); }
    Options &text(const char *key, const QString &value)
    {
        return put(key, g_variant_new_string(value.toUtf8().constData()));
    }
    Options &number(const char *key, guint32 value)
    {
        return put(key, g_variant_new_uint32(value));
    }
    Options &flag(const char *key, bool value)
    {
        return put(key, g_variant_new_boolean(value ? TRUE : FALSE));
    }
    GVariant *take() { return g_variant_builder_end(&m_builder); }

private:
    Options &put(const char *key, GVariant *value)
    {
        g_variant_builder_add(&m_builder, "{sv}", key, value);
        return *this;
    }
    GVariantBuilder m_builder {};
};

/// A name for a request or a session; two of a program at the same time need two names.
QString newToken()
{
    static int count = 0;
    return QStringLiteral("nimbara%1").arg(++count);
}

guint32 numberIn(GVariant *dictionary, const char *key)
{
    guint32 number = 0;
    g_variant_lookup(dictionary, key, "u", &number);
    return number;
}

QString textIn(GVariant *dictionary, const char *key)
{
    const gchar *text = nullptr;
    return g_variant_lookup(dictionary, key, "&s", &text) != FALSE ? QString::fromUtf8(text)
                                                                   : QString();
}

std::optional<guint32> firstNode(GVariant *results)
{
    const VariantRef streams(
        g_variant_lookup_value(results, "streams", G_VARIANT_TYPE("a(ua{sv})")));
    if (!streams || g_variant_n_children(streams.get()) == 0) {
        return std::nullopt;
    }
    guint32 node = 0;
    g_variant_get_child(streams.get(), 0, "(u@a{sv})", &node, nullptr);
    return node;
}

Message noPortal()
{
    return "este escritorio no la ofrece (falta el portal de captura).";
}

} // namespace

/// One question to the desktop, and the session that it leads to. It goes on living while an answer
/// is due; without its owner it only gives back what comes.
class ScreenPortal::Talk : public std::enable_shared_from_this<ScreenPortal::Talk> {
public:
    Talk(ScreenPortal *owner, QString token)
        : m_owner(owner)
        , m_token(std::move(token))
    {
    }
    Talk(const Talk &) = delete;
    Talk &operator=(const Talk &) = delete;
    Talk(Talk &&) = delete;
    Talk &operator=(Talk &&) = delete;
    ~Talk() { unsubscribe(); }

    void begin(bool looksOnly)
    {
        m_looksOnly = looksOnly;
        g_bus_get(G_BUS_TYPE_SESSION, nullptr, &Talk::onConnection, keep());
    }

    /// Nobody is told anything from now on, and nothing is shared.
    void leave()
    {
        m_owner = nullptr;
        m_then = nullptr;
        unsubscribe();
        if (m_connection && !m_session.isEmpty()) {
            g_dbus_connection_call(m_connection.get(),
                portalName,
                m_session.toUtf8().constData(),
                "org.freedesktop.portal.Session",
                "Close",
                nullptr,
                nullptr,
                G_DBUS_CALL_FLAGS_NONE,
                -1,
                nullptr,
                &Talk::onNothing,
                keep()); // the connection ends with the last talk, and with it what is not yet sent
            m_session.clear();
        }
    }

private:
    using Held = std::shared_ptr<Talk>;
    using Then = std::function<void(Talk &, GVariant *)>;
    struct Call {
        Held talk;
        Then then;
    };

    Held *keep() { return new Held(shared_from_this()); }
    static Held taken(gpointer data)
    {
        const std::unique_ptr<Held> held(static_cast<Held *>(data));
        return *held;
    }

    static void onNothing(GObject *source, GAsyncResult *result, gpointer data)
    {
        const Held self = taken(data);
        const VariantRef ignored(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
    }

    static void onConnection(GObject * /*source*/, GAsyncResult *result, gpointer data)
    {
        const Held self = taken(data);
        self->m_connection = ConnectionRef(g_bus_get_finish(result, nullptr));
        if (!self->m_connection) {
            self->stop(noPortal());
            return;
        }
        g_dbus_connection_set_exit_on_close(self->m_connection.get(), FALSE);
        self->call("org.freedesktop.DBus.Properties",
            "GetAll",
            g_variant_new("(s)", screenCast),
            "(a{sv})",
            [](Talk &talk, GVariant *answer) { talk.look(answer); });
    }

    /// `then` gets the answer, or none.
    void call(const char *interface,
        const char *method,
        GVariant *arguments,
        const char *answer,
        Then then)
    {
        g_dbus_connection_call(m_connection.get(),
            portalName,
            portalPath,
            interface,
            method,
            arguments,
            G_VARIANT_TYPE(answer),
            G_DBUS_CALL_FLAGS_NONE,
            -1,
            nullptr,
            &Talk::onAnswer,
            new Call { shared_from_this(), std::move(then) });
    }

    static void onAnswer(GObject *source, GAsyncResult *result, gpointer data)
    {
        const std::unique_ptr<Call> call(static_cast<Call *>(data));
        GError *error = nullptr;
        const VariantRef answer(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
        const ErrorRef held(error);
        if (error != nullptr) {
            logLine(QStringLiteral("Captura de pantalla: ") + QString::fromUtf8(error->message));
        }
        call->then(*call->talk, answer.get());
    }

    /// A method whose outcome comes later, by the signal of a request. Its place is known before
    /// the call, so that no answer is too early; an old portal names another one.
    void
    request(const char *method, const std::function<GVariant *(Options &)> &arguments, Then then)
    {
        const QString token = newToken();
        QString sender
            = QString::fromUtf8(g_dbus_connection_get_unique_name(m_connection.get())).mid(1);
        sender.replace(u'.', u'_');
        m_then = std::move(then);
        subscribe(QStringLiteral("%1/request/%2/%3").arg(QLatin1String(portalPath), sender, token),
            "org.freedesktop.portal.Request",
            "Response");
        Options options;
        options.text("handle_token", token);
        call(screenCast, method, arguments(options), "(o)", [](Talk &talk, GVariant *answer) {
            if (answer == nullptr) {
                talk.stop("El escritorio no entregó ninguna pantalla.");
                return;
            }
            const gchar *path = nullptr;
            g_variant_get(answer, "(&o)", &path);
            if (talk.m_then && talk.m_paths.back() != QString::fromUtf8(path)) {
                talk.subscribe(QString::fromUtf8(path),
                    "org.freedesktop.portal.Request",
                    "Response");
            }
        });
    }

    void subscribe(const QString &path, const char *interface, const char *signal)
    {
        m_paths.push_back(path);
        m_subscriptions.push_back(g_dbus_connection_signal_subscribe(m_connection.get(),
            portalName,
            interface,
            signal,
            path.toUtf8().constData(),
            nullptr,
            G_DBUS_SIGNAL_FLAGS_NONE,
            &Talk::onSignal,
            new std::weak_ptr<Talk>(weak_from_this()),
            [](gpointer data) { delete static_cast<std::weak_ptr<Talk> *>(data); }));
    }

    void unsubscribe()
    {
        for (const guint subscription : std::exchange(m_subscriptions, {})) {
            g_dbus_connection_signal_unsubscribe(m_connection.get(), subscription);
        }
        m_paths.clear();
    }

    static void onSignal(GDBusConnection * /*bus*/,
        const gchar * /*sender*/,
        const gchar * /*path*/,
        const gchar * /*interface*/,
        const gchar *signal,
        GVariant *arguments,
        gpointer data)
    {
        const Held self = static_cast<std::weak_ptr<Talk> *>(data)->lock();
        if (!self) {
            return;
        }
        if (qstrcmp(signal, "Closed") == 0) {
            self->m_session.clear();
            self->stop("El escritorio dejó de compartir la pantalla. \"Elegir pantalla...\" la "
                       "vuelve a pedir.");
        } else if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})")) != FALSE) {
            self->responded(arguments);
        }
    }

    void responded(GVariant *arguments)
    {
        guint32 code = 0;
        GVariant *found = nullptr;
        g_variant_get(arguments, "(u@a{sv})", &code, &found);
        const VariantRef results(found);
        unsubscribe();
        const Then then = std::exchange(m_then, nullptr);
        if (code == 0 && then) {
            then(*this, results.get());
        } else {
            stop("No se comparte ninguna pantalla. \"Elegir pantalla...\" vuelve a preguntar.");
        }
    }

    void look(GVariant *answer)
    {
        if (answer == nullptr) {
            stop(noPortal());
            return;
        }
        const VariantRef properties(g_variant_get_child_value(answer, 0));
        m_sourceTypes = numberIn(properties.get(), "AvailableSourceTypes") & monitorsAndWindows;
        m_cursorModes = numberIn(properties.get(), "AvailableCursorModes");
        if (m_sourceTypes == 0) {
            stop(noPortal());
        } else if (m_looksOnly) {
            stop({});
        } else if (m_owner != nullptr) { // it may have left meanwhile
            m_owner->tellTrouble({});
            createSession();
        }
    }

    void createSession()
    {
        request(
            "CreateSession",
            [](Options &options) {
                options.text("session_handle_token", newToken());
                return g_variant_new("(@a{sv})", options.take());
            },
            [](Talk &talk, GVariant *results) {
                talk.m_session = textIn(results, "session_handle");
                if (g_variant_is_object_path(talk.session().constData()) != FALSE) {
                    talk.select();
                } else {
                    talk.m_session.clear();
                    talk.stop("El escritorio no entregó ninguna pantalla.");
                }
            });
    }

    void select()
    {
        request(
            "SelectSources",
            [this](Options &options) {
                options.number("types", m_sourceTypes)
                    .flag("multiple", false)
                    .number("persist_mode", untilRevoked);
                if ((m_cursorModes & cursorInPicture) != 0) {
                    options.number("cursor_mode", cursorInPicture);
                }
                if (!m_token.isEmpty()) {
                    options.text("restore_token", m_token);
                }
                return g_variant_new("(o@a{sv})", session().constData(), options.take());
            },
            [](Talk &talk, GVariant * /*results*/) { talk.start(); });
    }

    void start()
    {
        request(
            "Start",
            [this](Options &options) {
                return g_variant_new("(os@a{sv})", session().constData(), "", options.take());
            },
            [](Talk &talk, GVariant *results) {
                talk.m_node = firstNode(results);
                talk.m_token = textIn(results, "restore_token");
                talk.openRemote();
            });
    }

    void openRemote()
    {
        if (!m_node) {
            stop("El escritorio no entregó ninguna pantalla.");
            return;
        }
        subscribe(m_session, "org.freedesktop.portal.Session", "Closed");
        Options options;
        g_dbus_connection_call_with_unix_fd_list(m_connection.get(),
            portalName,
            portalPath,
            screenCast,
            "OpenPipeWireRemote",
            g_variant_new("(o@a{sv})", session().constData(), options.take()),
            G_VARIANT_TYPE("(h)"),
            G_DBUS_CALL_FLAGS_NONE,
            -1,
            nullptr,
            nullptr,
            &Talk::onRemote,
            keep());
    }

    static void onRemote(GObject *source, GAsyncResult *result, gpointer data)
    {
        const Held self = taken(data);
        GUnixFDList *found = nullptr;
        const VariantRef answer(
            g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(source),
                &found,
                result,
                nullptr));
        const FdListRef list(found);
        gint32 place = 0;
        if (answer) {
            g_variant_get(answer.get(), "(h)", &place);
        }
        const int remote = answer && list ? g_unix_fd_list_get(list.get(), place, nullptr) : -1;
        if (remote < 0) {
            self->stop("El escritorio no entregó ninguna pantalla.");
        } else if (const ScreenStream stream(remote, *self->m_node); self->m_owner != nullptr) {
            self->m_owner->grant(self, stream, self->m_token);
        }
    }

    void stop(const Message &why)
    {
        const Held self = shared_from_this();
        if (ScreenPortal *owner = std::exchange(m_owner, nullptr)) {
            if (m_sourceTypes == 0) {
                owner->tellTrouble(why);
            }
            owner->end(self, m_sourceTypes == 0 || m_looksOnly ? Message() : why);
        }
        leave();
    }

    [[nodiscard]] QByteArray session() const { return m_session.toUtf8(); }

    ScreenPortal *m_owner; ///< none: it does not want to know any more
    QString m_token; ///< of the choice
    bool m_looksOnly = false;
    ConnectionRef m_connection;
    std::vector<guint> m_subscriptions;
    std::vector<QString> m_paths; ///< that they listen at
    Then m_then; ///< once the request under way has its response
    QString m_session;
    guint32 m_sourceTypes = 0; ///< that the desktop offers
    guint32 m_cursorModes = 0;
    std::optional<guint32> m_node;
};

#else

class ScreenPortal::Talk {
public:
    Talk(ScreenPortal * /*owner*/, const QString & /*token*/) { }
    void begin(bool /*looksOnly*/) { }
    void leave() { }
};

#endif

ScreenPortal::ScreenPortal(QSettings &settings, std::optional<ScreenStream> &granted, bool isNeeded)
    : m_settings(settings)
    , m_granted(granted)
    , m_isNeeded(isNeeded)
{
    if (m_isNeeded) {
        begin({}, true);
    }
}

ScreenPortal::~ScreenPortal()
{
    for (const auto &talk : { m_asking, m_sharing }) {
        if (talk) {
            talk->leave();
        }
    }
}

void ScreenPortal::begin(const QString &token, bool looksOnly)
{
    if (m_asking) {
        m_asking->leave();
    }
    m_wasAsked = m_wasAsked || !looksOnly;
    m_asking = std::make_shared<Talk>(this, token);
    m_asking->begin(looksOnly);
}

bool ScreenPortal::mayOpen()
{
    if (!m_wasAsked && m_trouble.isEmpty()) {
        want();
    }
    return !m_isNeeded || m_granted.has_value();
}

void ScreenPortal::want()
{
    const bool isUnderWay = m_asking && m_wasAsked;
    if (m_isNeeded && !m_granted && !isUnderWay) {
        begin(m_settings.value(tokenSetting).toString(), false);
    }
}

void ScreenPortal::choose()
{
    if (m_isNeeded) {
        begin({}, false); // with the token of the last choice nobody would be asked
    }
}

void ScreenPortal::tellTrouble(const Message &trouble)
{
    if (!(std::exchange(m_trouble, trouble) == trouble)) {
        Q_EMIT troubleChanged();
    }
}

/// What was shared before ends; who shows it opens this instead.
void ScreenPortal::grant(const std::shared_ptr<Talk> &talk,
    const ScreenStream &stream,
    const QString &token)
{
    if (!token.isEmpty()) {
        m_settings.setValue(tokenSetting, token);
    }
    m_granted = stream;
    if (m_sharing) {
        m_sharing->leave();
    }
    m_sharing = talk;
    m_asking.reset();
    Q_EMIT said("El escritorio comparte la pantalla.");
}

void ScreenPortal::end(const std::shared_ptr<Talk> &talk, const Message &why)
{
    if (talk == m_sharing) {
        m_granted.reset();
        m_sharing.reset();
    }
    if (talk == m_asking) {
        m_asking.reset();
    }
    if (!why.isEmpty()) {
        Q_EMIT said(why);
    }
}

} // namespace nimbara
