#include "studio/sources/portal_talk.h"

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
#include "studio/sources/portal_bus.h"

#include <optional>
#include <utility>
#endif

namespace nimbara {

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)

namespace {

constexpr guint32 monitorsAndWindows = 1 | 2;
constexpr guint32 cursorInPicture = 2;
constexpr guint32 untilRevoked = 2; ///< how long the choice is remembered

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

Message noScreen()
{
    return "El escritorio no entregó ninguna pantalla.";
}

Message nothingShared()
{
    return "No se comparte ninguna pantalla. \"Elegir pantalla...\" vuelve a preguntar.";
}

Message stoppedSharing()
{
    return "El escritorio dejó de compartir la pantalla. \"Elegir pantalla...\" la vuelve a pedir.";
}

/// It goes on living while an answer is due; once it is left it only gives back what comes.
class Talk : public PortalTalk, public std::enable_shared_from_this<Talk> {
public:
    Talk(PortalAnswers &answers, QString token, bool looksOnly)
        : m_answers(&answers)
        , m_token(std::move(token))
        , m_looksOnly(looksOnly)
    {
    }

    Q_DISABLE_COPY_MOVE(Talk)
    ~Talk() override
    {
        if (m_bus) {
            m_bus->ignore(); // it may stay for what is not yet sent
        }
    }

    void begin()
    {
        PortalBus::open([self = shared_from_this()](const auto &bus) {
            self->m_bus = bus;
            self->connected();
        });
    }

    void leave() override
    {
        m_answers = nullptr;
        if (m_bus) {
            m_bus->ignore();
        }
        if (const QString session = std::exchange(m_session, {}); !session.isEmpty()) {
            m_bus->close(session);
        }
    }

private:
    using Held = std::shared_ptr<Talk>;
    using Then = void (Talk::*)(GVariant *results);

    void connected()
    {
        if (!m_bus) {
            stop(noPortal());
            return;
        }
        m_bus->call("org.freedesktop.DBus.Properties",
            "GetAll",
            g_variant_new("(s)", "org.freedesktop.portal.ScreenCast"),
            "(a{sv})",
            [self = shared_from_this()](GVariant *answer) { self->look(answer); });
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
        } else if (m_answers != nullptr) { // it may have been left meanwhile
            m_answers->tellTrouble({});
            m_bus->onGone([this] { closed(); });
            createSession();
        }
    }

    void request(const char *method, const PortalBus::Arguments &arguments, Then then)
    {
        m_bus->request(
            method,
            arguments,
            [this, then](guint32 code, GVariant *results) {
                const Held self = shared_from_this(); // whoever has it may let go of it
                if (code == 0) {
                    (this->*then)(results);
                } else {
                    stop(nothingShared());
                }
            },
            [self = shared_from_this()] { self->stop(noScreen()); });
    }

    void createSession()
    {
        const auto arguments = [](PortalOptions &options) {
            options.text("session_handle_token", newPortalToken());
            return g_variant_new("(@a{sv})", options.take());
        };
        request("CreateSession", arguments, &Talk::select);
    }

    void select(GVariant *results)
    {
        m_session = textIn(results, "session_handle");
        if (g_variant_is_object_path(session().constData()) == FALSE) {
            m_session.clear();
            stop(noScreen());
            return;
        }
        const auto arguments = [this](PortalOptions &options) {
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
        };
        request("SelectSources", arguments, &Talk::start);
    }

    void start(GVariant * /*results*/)
    {
        const auto arguments = [this](PortalOptions &options) {
            return g_variant_new("(os@a{sv})", session().constData(), "", options.take());
        };
        request("Start", arguments, &Talk::openRemote);
    }

    void openRemote(GVariant *results)
    {
        const std::optional<guint32> node = firstNode(results);
        m_token = textIn(results, "restore_token");
        if (!node) {
            stop(noScreen());
            return;
        }
        m_bus->onClosed(m_session, [this] { closed(); });
        m_bus->openRemote(m_session, [self = shared_from_this(), node = *node](int remote) {
            if (remote < 0) {
                self->stop(noScreen());
            } else {
                self->grant(ScreenStream(remote, node));
            }
        });
    }

    void grant(const ScreenStream &stream)
    {
        if (m_answers != nullptr) {
            m_isGranted = true;
            m_answers->grant(shared_from_this(), stream, m_token);
        }
    }

    /// The session is over, and all that it shared.
    void closed()
    {
        m_session.clear();
        stop(m_isGranted ? stoppedSharing() : nothingShared());
    }

    void stop(const Message &why)
    {
        const Held self = shared_from_this();
        if (PortalAnswers *answers = std::exchange(m_answers, nullptr)) {
            if (m_sourceTypes == 0) {
                answers->tellTrouble(why);
            }
            answers->end(self, m_sourceTypes == 0 || m_looksOnly ? Message() : why);
        }
        leave();
    }

    [[nodiscard]] QByteArray session() const { return m_session.toUtf8(); }

    PortalAnswers *m_answers; ///< none: nobody wants to know any more
    QString m_token; ///< of the choice
    const bool m_looksOnly;
    bool m_isGranted = false;
    std::shared_ptr<PortalBus> m_bus; ///< its signals are told to this alone
    QString m_session;
    guint32 m_sourceTypes = 0; ///< that the desktop offers
    guint32 m_cursorModes = 0;
};

} // namespace

std::shared_ptr<PortalTalk>
PortalTalk::begin(PortalAnswers &answers, const QString &token, bool looksOnly)
{
    auto talk = std::make_shared<Talk>(answers, token, looksOnly);
    talk->begin();
    return talk;
}

#else

namespace {

class NoTalk : public PortalTalk {
public:
    void leave() override { }
};

} // namespace

std::shared_ptr<PortalTalk>
PortalTalk::begin(PortalAnswers & /*answers*/, const QString & /*token*/, bool /*looksOnly*/)
{
    return std::make_shared<NoTalk>();
}

#endif

} // namespace nimbara
