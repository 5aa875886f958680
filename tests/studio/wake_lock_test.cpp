#include "studio/outputs/wake_lock.h"
#include "support/log_text.h"
#include "support/test_registry.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <glib.h>

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

/// A service of the desktop on the session bus; it answers when it is told to.
class Service : public QDBusVirtualObject {
public:
    Service(const QString &name, const QString &path)
        : m_name(name)
    {
        m_bus.registerVirtualObject(path, this, QDBusConnection::SubPath);
        ready = m_bus.registerService(name);
    }
    ~Service() override { m_bus.unregisterService(m_name); }
    void answer(const QVariantList &values = {})
    {
        m_bus.send(waiting.takeFirst().createReply(values));
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &) override
    {
        calls << call.member();
        for (const QVariant &argument : call.arguments()) {
            calls.last() += u' ' + argument.toString();
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

} // namespace

class WakeLockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QFile::remove(logFilePath()); }

    /// Granted in time or only after it was given back: nothing stays inhibited.
    void isGivenBackHoweverLateItIsGranted()
    {
        Service desktop(u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s);
        QVERIFY(desktop.ready);
        for (const bool late : { false, true }) {
            desktop.calls.clear();
            WakeLock lock;
            lock.setHeld(true);
            lock.setHeld(true);
            QTRY_COMPARE(desktop.waiting.size(), 1);
            if (late) {
                lock.setHeld(false);
                desktop.answer({ 7U });
            } else {
                desktop.answer({ 7U });
                QTest::qWait(0);
                QTRY_COMPARE(desktop.calls.size(), 1); // held
                lock.setHeld(false);
            }
            QTRY_COMPARE(desktop.calls.last(), u"UnInhibit 7"_s);
            desktop.answer();
            QCOMPARE(desktop.calls.size(), 2);
        }
    }

    void asksThePortalWhereThereIsNoOther()
    {
        const auto path = u"/org/freedesktop/portal/desktop"_s;
        Service portal(u"org.freedesktop.portal.Desktop"_s, path);
        QVERIFY(portal.ready);
        {
            WakeLock lock;
            lock.setHeld(true);
            QTRY_COMPARE(portal.waiting.size(), 1);
            QCOMPARE(portal.calls[0], u"Inhibit  12 "_s); // suspending and being idle
            portal.answer({ QVariant::fromValue(QDBusObjectPath(path + u"/request/1"_s)) });
            // The answer travels another way than the end of the hold.
            QTRY_VERIFY(g_main_context_pending(nullptr) == FALSE);
        }
        QTRY_COMPARE(portal.calls.last(), u"Close"_s);
        portal.answer();
    }

    void withoutAServiceTheLogSaysSo()
    {
        WakeLock lock;
        lock.setHeld(true);
        QTRY_VERIFY(testing::logText().contains(u"Ningún servicio evita"_s));
    }
};

NIMBARA_TEST(WakeLockTest)
#include "wake_lock_test.moc"
