#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace nimbara::testing {

/// A service of the desktop on the session bus; it answers when it is told to.
class BusService : public QDBusVirtualObject {
public:
    BusService(const QString &name, const QString &path)
        : m_name(name)
    {
        m_bus.registerVirtualObject(path, this, QDBusConnection::SubPath);
        ready = m_bus.registerService(name);
    }
    BusService(const BusService &) = delete;
    BusService &operator=(const BusService &) = delete;
    BusService(BusService &&) = delete;
    BusService &operator=(BusService &&) = delete;
    ~BusService() override { m_bus.unregisterService(m_name); }
    void answer(const QVariantList &values = {})
    {
        m_bus.send(waiting.takeFirst().createReply(values));
    }
    void refuse(QDBusError::ErrorType why)
    {
        m_bus.send(waiting.takeFirst().createErrorReply(why, QStringLiteral("refused")));
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &) override
    {
        calls << call.member();
        for (const QVariant &argument : call.arguments()) {
            calls.last() += QLatin1Char(' ') + argument.toString();
        }
        waiting << call;
        return true;
    }

    bool ready = false;
    QStringList calls; ///< method and arguments
    QList<QDBusMessage> waiting;

private:
    QDBusConnection m_bus = QDBusConnection::sessionBus();
    QString m_name;
};

} // namespace nimbara::testing
