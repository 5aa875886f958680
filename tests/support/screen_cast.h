#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <functional>

namespace nimbara::testing {

/// A stream as the portal names it.
struct CastStream {
    uint node = 0;
    QVariantMap properties;
};

inline QDBusArgument &operator<<(QDBusArgument &argument, const CastStream &stream)
{
    argument.beginStructure();
    argument << stream.node << stream.properties;
    argument.endStructure();
    return argument;
}
inline const QDBusArgument &operator>>(const QDBusArgument &argument, CastStream &stream)
{
    argument.beginStructure();
    argument >> stream.node >> stream.properties;
    argument.endStructure();
    return argument;
}

} // namespace nimbara::testing

Q_DECLARE_METATYPE(nimbara::testing::CastStream)
Q_DECLARE_METATYPE(QList<nimbara::testing::CastStream>)

namespace nimbara::testing {

/// The desktop's portal for screens (org.freedesktop.portal.ScreenCast) on the session bus. As a
/// real one it answers each request later, by a signal of its own object.
class ScreenCast : public QDBusVirtualObject {
public:
    ScreenCast()
    {
        qDBusRegisterMetaType<CastStream>();
        qDBusRegisterMetaType<QList<CastStream>>();
        m_bus.registerVirtualObject(m_path, this, QDBusConnection::SubPath);
        ready = m_bus.registerService(m_name);
    }
    Q_DISABLE_COPY_MOVE(ScreenCast)
    ~ScreenCast() override
    {
        m_bus.unregisterService(m_name);
        m_bus.unregisterObject(m_path, QDBusConnection::UnregisterTree);
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &) override
    {
        calls << call.member();
        const QList<QVariant> given = call.arguments();
        if (call.member() == QLatin1String("GetAll")) {
            m_bus.send(call.createReply(
                QVariant(QVariantMap { { QStringLiteral("AvailableSourceTypes"), types },
                    { QStringLiteral("AvailableCursorModes"), 7U } })));
        } else if (call.member() == QLatin1String("Close")) {
            m_bus.send(call.createReply());
            closed();
        } else if (call.member() == QLatin1String("OpenPipeWireRemote")) {
            m_bus.send(call.createReply(QVariant::fromValue(openRemote())));
        } else {
            options = qdbus_cast<QVariantMap>(given.last());
            respondLater(call);
        }
        return true;
    }
    /// The desktop ends what it shares.
    void endSession()
    {
        m_bus.send(QDBusMessage::createTargetedSignal(m_client,
            m_session,
            QStringLiteral("org.freedesktop.portal.Session"),
            QStringLiteral("Closed")));
    }

    bool ready = false;
    uint types = 3; ///< monitors and windows
    uint node = 0; ///< that the operator chooses
    uint code = 0; ///< of the operator's answer: 1 declines
    bool answers = true; ///< the operator does
    QStringList calls; ///< methods, in order
    QVariantMap options; ///< of the last request
    QStringList tokens; ///< of earlier choices, as they came with each selection
    std::function<QDBusUnixFileDescriptor()> openRemote;
    std::function<void()> closed = [] {}; ///< a session was

private:
    void respondLater(const QDBusMessage &call)
    {
        QString sender = call.service().mid(1);
        sender.replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString base = m_path + QStringLiteral("/%1/") + sender + QLatin1Char('/');
        const QString request = base.arg(QStringLiteral("request"))
            + options.value(QStringLiteral("handle_token")).toString();
        m_client = call.service();
        QVariantMap results;
        if (call.member() == QLatin1String("CreateSession")) {
            m_session = base.arg(QStringLiteral("session"))
                + options.value(QStringLiteral("session_handle_token")).toString();
            results.insert(QStringLiteral("session_handle"), m_session);
        } else if (call.member() == QLatin1String("SelectSources")) {
            tokens << options.value(QStringLiteral("restore_token")).toString();
        } else {
            results.insert(QStringLiteral("streams"),
                QVariant::fromValue(QList<CastStream> { { node, {} } }));
            results.insert(QStringLiteral("restore_token"), QStringLiteral("choice-%1").arg(node));
        }
        m_bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        const bool isAsked = call.member() == QLatin1String("Start");
        if (isAsked && !answers) {
            return;
        }
        const uint outcome = isAsked ? code : 0;
        QTimer::singleShot(50, this, [this, request, outcome, results] {
            QDBusMessage signal = QDBusMessage::createTargetedSignal(m_client,
                request,
                QStringLiteral("org.freedesktop.portal.Request"),
                QStringLiteral("Response"));
            m_bus.send(signal << outcome << results);
        });
    }

    const QString m_name = QStringLiteral("org.freedesktop.portal.Desktop");
    const QString m_path = QStringLiteral("/org/freedesktop/portal/desktop");
    QDBusConnection m_bus = QDBusConnection::sessionBus();
    QString m_client;
    QString m_session;
};

} // namespace nimbara::testing
