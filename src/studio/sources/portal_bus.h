#pragma once

#include <QString>

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nimbara {

struct GioUnref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
};
using VariantRef = std::unique_ptr<GVariant, GioUnref>;

/// The options of a portal's method, a dictionary.
class PortalOptions {
public:
    PortalOptions() { g_variant_builder_init(&m_builder, G_VARIANT_TYPE_VARDICT); }
    PortalOptions &text(const char *key, const QString &value);
    PortalOptions &number(const char *key, guint32 value);
    PortalOptions &flag(const char *key, bool value);
    /// Once, at the end; a floating reference.
    GVariant *take() { return g_variant_builder_end(&m_builder); }

private:
    PortalOptions &put(const char *key, GVariant *value);
    GVariantBuilder m_builder {};
};

/// A name for a request or a session; two of a program at the same time need two names.
QString newPortalToken();

/// Methods of the desktop's portal on the session bus (`org.freedesktop.portal.Request`,
/// https://flatpak.github.io/xdg-desktop-portal). Interface thread only, which never waits: what
/// comes is told through its event loop. A function given to a method is kept until it is called,
/// and with it the bus; those of signals only as long as somebody holds the bus.
class PortalBus : public std::enable_shared_from_this<PortalBus> {
public:
    static constexpr const char *name = "org.freedesktop.portal.Desktop";

    using Answered = std::function<void(GVariant *answer)>; ///< none: it failed, which is logged
    using Responded = std::function<void(guint32 code, GVariant *results)>; ///< code 0: granted
    using Arguments = std::function<GVariant *(PortalOptions &options)>;

    /// `then` gets none when there is no session bus.
    static void open(std::function<void(const std::shared_ptr<PortalBus> &bus)> then);
    explicit PortalBus(GDBusConnection *connection)
        : m_connection(connection)
    {
    }
    Q_DISABLE_COPY_MOVE(PortalBus)
    ~PortalBus() { ignore(); }

    /// A method of the portal's object with arguments of their own; `answer`: the type of its
    /// answer.
    void call(const char *interface,
        const char *method,
        GVariant *arguments,
        const char *answer,
        Answered then);
    /// A method of the screen cast whose outcome comes later, by the signal of a request.
    /// `refused`: there will be none. One at a time.
    void request(const char *method,
        const Arguments &arguments,
        Responded responded,
        std::function<void()> refused);
    /// The media service's socket for what a session shares, which is the caller's from then on;
    /// below 0: none.
    void openRemote(const QString &session, std::function<void(int remote)> then);
    /// Tells the desktop that the session is over.
    void close(const QString &session);

    /// The desktop ends the session.
    void onClosed(const QString &session, std::function<void()> then);
    /// The portal goes away, which sends nothing more.
    void onGone(std::function<void()> then);
    /// None of the signals is told any more.
    void ignore();

private:
    using Signalled = std::function<void(GVariant *arguments)>;
    void subscribe(const QString &path, const char *interface, const char *signal, Signalled then);
    void awaitResponse(const QString &path);
    void respond(GVariant *arguments);
    void unsubscribe();

    std::unique_ptr<GDBusConnection, GioUnref> m_connection;
    std::vector<guint> m_subscriptions;
    std::vector<QString> m_awaited; ///< where the response to the request under way may come
    Responded m_responded; ///< of the request under way
    guint m_watch = 0; ///< of the portal's name
};

} // namespace nimbara
