#include "support/log_text.h"
#include "support/test_registry.h"

#include <QProcess>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class StudioApplicationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// A fault of a handler travels through no toolkit, is told in the end and leaves a trace, also
    /// before there is a loop; what hangs on the way out holds no process up.
    void noFaultEndsItWithoutATrace()
    {
        for (const auto &[what, code, told, trace] : { std::tuple { u"before"_s,
                                                           1,
                                                           "lived on\ntold: broken\n",
                                                           u"Error inesperado: broken"_s },
                 { u"within"_s, 1, "lived on\ntold: broken\n", u"Error inesperado: broken"_s },
                 { u"hangs"_s, 3, "", u"Fin sin esperar a lo que no responde."_s } }) {
            QFile::remove(logFilePath());
            QProcess probe;
            probe.start(QStringLiteral(NIMBARA_APP_PROBE), { what });
            QVERIFY(probe.waitForFinished(60'000));
            QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
            QCOMPARE(probe.exitCode(), code);
            QCOMPARE(probe.readAllStandardOutput(), QByteArray(told));
            QVERIFY2(logText().contains(trace), qPrintable(what));
        }
    }
};

NIMBARA_TEST(StudioApplicationTest)
#include "studio_application_test.moc"
