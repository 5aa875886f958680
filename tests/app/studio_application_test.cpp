#include "support/log_text.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QTemporaryDir>

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

    /// It was left without its index.
    void aFaultLeavesNoRecordingWithoutItsEnd()
    {
        const QTemporaryDir folder;
        QProcess probe;
        probe.start(QStringLiteral(NIMBARA_CLOSING_PROBE), { folder.path(), u"fault"_s });
        QVERIFY(probe.waitForFinished(180'000));
        QCOMPARE(probe.readAllStandardOutput(), QByteArray("broken\nwhole\n"));
        QCOMPARE(probe.exitCode(), 1);
    }

    /// A recording, a clip, a project and the key store at once, each of which alone is survived.
    void allThatHangsHoldsNoEndUpAndIsTold()
    {
        const QTemporaryDir folder;
        QProcess probe;
        probe.start(QStringLiteral(NIMBARA_CLOSING_PROBE), { folder.path() });
        QTRY_VERIFY_WITH_TIMEOUT(probe.canReadLine(), 180'000);
        QCOMPARE(probe.readLine(), QByteArray("closes\n"));
        QVERIFY(probe.waitForFinished(10'000)); // as promised
        QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
        QCOMPARE(probe.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(probe.readAllStandardOutput()),
            u"Cerrar: La grabación no terminó de guardarse a tiempo; el archivo puede estar "
            "incompleto.\nLas claves no terminaron de guardarse; revísalas en el próximo "
            "inicio.\n"_s);
    }
};

NIMBARA_TEST(StudioApplicationTest)
#include "studio_application_test.moc"
