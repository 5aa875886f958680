#include "studio/programs/tick_priority.h"
#include "support/bus_service.h"
#include "support/log_text.h"
#include "support/test_registry.h"

#include <QDBusError>

#include <sys/resource.h>
#include <unistd.h>

using namespace nimbara;
using namespace Qt::StringLiterals;

class TickPriorityTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// By a service that answers late, that refuses, and by none: then directly, where the user
    /// may.
    void asksForTheThreadThatTicks()
    {
        const bool isPrivileged = setpriority(PRIO_PROCESS, 0, -1) == 0;
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", qgetenv("DBUS_SESSION_BUS_ADDRESS"));
        const auto told = [](const QString &text) { return testing::logText().count(text); };
        const QString granted = u"La mezcla tiene prioridad"_s;
        const QString refused = u"Sin prioridad para la mezcla"_s;
        QFile::remove(logFilePath());
        {
            testing::BusService kit(u"org.freedesktop.RealtimeKit1"_s,
                u"/org/freedesktop/RealtimeKit1"_s);
            QVERIFY(kit.ready);
            askForTickPriority();
            QTRY_COMPARE(kit.calls.value(0), u"MakeThreadHighPriority %1 -11"_s.arg(gettid()));
            QCOMPARE(told(granted), 0);
            kit.answer();
            QTRY_COMPARE(told(granted), 1);
            askForTickPriority();
            QTRY_COMPARE(kit.waiting.size(), 1);
            kit.refuse(QDBusError::AccessDenied);
            QTRY_COMPARE(told(isPrivileged ? granted : refused), isPrivileged ? 2 : 1);
        }
        askForTickPriority();
        QTRY_COMPARE(told(isPrivileged ? granted : refused), isPrivileged ? 3 : 2);
        QCOMPARE(getpriority(PRIO_PROCESS, 0), isPrivileged ? -11 : 0);
        setpriority(PRIO_PROCESS, 0, 0);
    }
};

NIMBARA_TEST(TickPriorityTest)
#include "tick_priority_test.moc"
