#include "secrets/keychain_store.h"
#include "secrets/secret_store.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>

#include <csignal>

using namespace nimbara;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 30'000; // for a loaded machine
const QString account = u"openai"_s;

QString outputOf(const char *command)
{
    QProcess process;
    process.startCommand(QLatin1String(command));
    return process.waitForFinished(patience) ? QString::fromUtf8(process.readAll()) : QString();
}

} // namespace

/// Against a real Secret Service in a private session bus (support/secret_service.sh).
class KeychainStoreTest : public QObject {
    Q_OBJECT

    bool write(const QString &name, const QString &value)
    {
        std::optional<bool> written;
        m_store.writeKeychain(name, value, [&](bool done) { written = done; });
        return !written && QTest::qWaitFor([&] { return written.has_value(); }, patience)
            && *written;
    }
    QString read(const QString &name)
    {
        std::optional<QString> secret;
        m_store.readKeychain(name, [&](const QString &found) { secret = found; });
        return QTest::qWaitFor([&] { return secret.has_value(); }, patience) ? *secret
                                                                             : u"(no answer)"_s;
    }

    KeychainStore m_store;

private Q_SLOTS:
    void keepsOneSecretPerAccount()
    {
        const auto other = u"stream-Otro RTMP"_s;
        QCOMPARE(read(account), QString());
        QVERIFY(write(account, u"sk-uno"_s));
        QVERIFY(write(account, u"sk-dos ñ \U0001F511"_s));
        QVERIFY(write(other, u"clave"_s));
        QCOMPARE(read(account), u"sk-dos ñ \U0001F511"_s);
        // What another program of the desktop finds under the service's name.
        QCOMPARE(outputOf("secret-tool lookup server NimbaraStudio user openai"),
            u"sk-dos ñ \U0001F511"_s);
        QVERIFY(write(other, QString()));
        QCOMPARE(read(other), QString());
    }

    void stoppedServiceLeavesTheThreadFree()
    {
        const pid_t service = qEnvironmentVariableIntValue("SECRET_SERVICE_PID");
        QVERIFY2(service > 0, "run this under tests/support/secret_service.sh");
        QVERIFY(write(account, u"sk-tres"_s));
        const QTemporaryDir folder;
        SecretStore secrets(m_store, folder.filePath(u"secrets.json"_s), 1s);
        int beats = 0;
        QTimer heart;
        heart.callOnTimeout([&] { ++beats; });
        heart.start(5);
        QCOMPARE(::kill(service, SIGSTOP), 0);
        std::optional<QString> secret;
        secrets.readSecret(account, [&](const QString &found) { secret = found; });
        const bool gaveUp = QTest::qWaitFor([&] { return secret.has_value(); }, patience);
        ::kill(service, SIGCONT);
        QVERIFY(gaveUp && secret->isEmpty());
        QVERIFY2(beats > 10, qPrintable(QString::number(beats)));
        QCOMPARE(read(account), u"sk-tres"_s); // and works again
    }

    void lockedServiceRefuses()
    {
        QVERIFY(write(account, u"sk-cuatro"_s));
        outputOf("secret-tool lock --collection=login");
        QCOMPARE(read(account), QString()); // nobody is there to unlock it
        QVERIFY(!write(account, u"sk-cinco"_s));
    }

    /// Once without a store, once with one in use.
    void outlivesItsBus()
    {
        const auto program = QStringLiteral(NIMBARA_SECRET_PROBE);
        const auto service = QStringLiteral(NIMBARA_SECRET_SERVICE);
        for (const QStringList &command :
            { QStringList { program }, { service, u"--in-bus"_s, program } }) {
            QProcess bus;
            const auto config = QStringLiteral("--config-file=" NIMBARA_PRIVATE_BUS);
            bus.start(u"dbus-daemon"_s, { config, u"--print-address"_s, u"--nofork"_s });
            QVERIFY(bus.waitForReadyRead(patience));
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s,
                QString::fromUtf8(bus.readLine().trimmed()));

            QProcess probe;
            probe.setProcessEnvironment(environment);
            probe.start(command.first(), command.mid(1));
            const auto ask = [&] {
                probe.write("?");
                return probe.waitForReadyRead(patience) ? probe.readLine() : QByteArray("(none)");
            };
            QVERIFY(probe.waitForStarted(patience));
            QCOMPARE(ask(), QByteArray("empty\n"));
            bus.kill();
            QVERIFY(bus.waitForFinished(patience));
            for (int i = 0; i < 20; ++i) {
                QCOMPARE(ask(), QByteArray("empty\n"));
            }
            probe.closeWriteChannel();
            QVERIFY(probe.waitForFinished(patience));
            QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
            QCOMPARE(probe.exitCode(), 0);
        }
    }
};

NIMBARA_TEST(KeychainStoreTest)
#include "keychain_store_test.moc"
