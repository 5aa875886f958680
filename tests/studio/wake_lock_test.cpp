#include "studio/outputs/wake_lock.h"
#include "support/bus_service.h"
#include "support/log_text.h"
#include "support/test_registry.h"

#include <QDBusObjectPath>

#include <glib.h>

using namespace nimbara;
using nimbara::testing::BusService;
using namespace Qt::StringLiterals;

class WakeLockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QFile::remove(logFilePath()); }

    /// Granted in time or only after it was given back: nothing stays inhibited.
    void isGivenBackHoweverLateItIsGranted()
    {
        BusService desktop(u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s);
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
        BusService portal(u"org.freedesktop.portal.Desktop"_s, path);
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

    /// A desktop's shell that starts anew in mid-service knows of no inhibition.
    void aServiceThatStartsAnewIsAskedAgain()
    {
        WakeLock lock;
        for (const uint cookie : { 7U, 8U }) {
            BusService desktop(u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s);
            QVERIFY(desktop.ready);
            lock.setHeld(true);
            QTRY_COMPARE(desktop.waiting.size(), 1);
            QVERIFY(desktop.calls.last().startsWith(u"Inhibit"_s));
            desktop.answer({ cookie });
            QTest::qWait(0);
            QTRY_VERIFY(g_main_context_pending(nullptr) == FALSE);
            if (cookie == 8) {
                lock.setHeld(false);
                QTRY_COMPARE(desktop.calls.last(), u"UnInhibit 8"_s);
                desktop.answer();
                QCOMPARE(desktop.calls.size(), 2);
            }
        }
    }

    /// A screen saver that crashes takes its inhibition with it: another service may stand in.
    void thePortalStandsInForAServiceThatLeaves()
    {
        const auto path = u"/org/freedesktop/portal/desktop"_s;
        BusService portal(u"org.freedesktop.portal.Desktop"_s, path);
        WakeLock lock;
        {
            BusService desktop(u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s);
            lock.setHeld(true);
            QTRY_COMPARE(desktop.waiting.size(), 1);
            desktop.answer({ 7U });
            QTest::qWait(0);
            QTRY_VERIFY(g_main_context_pending(nullptr) == FALSE);
            QVERIFY(portal.calls.isEmpty());
        }
        QTRY_COMPARE(portal.waiting.size(), 1);
        portal.answer({ QVariant::fromValue(QDBusObjectPath(path + u"/request/2"_s)) });
        QTRY_VERIFY(g_main_context_pending(nullptr) == FALSE);
        lock.setHeld(false);
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
