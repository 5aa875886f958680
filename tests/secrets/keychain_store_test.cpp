#include "secrets/keychain_store.h"
#include "secrets/secret_store.h"
#include "support/test_registry.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <optional>

using namespace nimbara;

namespace {

constexpr int patience = 30'000; // for a loaded machine
const QString account = QStringLiteral("openai");

QString outputOf(const char *command)
{
    QStringList arguments = QString::fromLatin1(command).split(QLatin1Char(' '));
    QProcess process;
    process.start(arguments.takeFirst(), arguments);
    return process.waitForFinished(patience) ? QString::fromUtf8(process.readAllStandardOutput())
                                             : QStringLiteral("(missing)");
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
        return QTest::qWaitFor([&] { return secret.has_value(); }, patience)
            ? *secret
            : QStringLiteral("(no answer)");
    }

    KeychainStore m_store;
    pid_t m_service = 0;

private Q_SLOTS:
    void initTestCase();
    void keepsOneSecretPerAccount();
    void stoppedServiceLeavesTheThreadFree();
    void lockedServiceRefuses();
    void outlivesItsBus_data();
    void outlivesItsBus();
};

void KeychainStoreTest::initTestCase()
{
    m_service = qEnvironmentVariableIntValue("SECRET_SERVICE_PID");
    QVERIFY2(m_service > 0, "run this under tests/support/secret_service.sh");
}

void KeychainStoreTest::keepsOneSecretPerAccount()
{
    const auto other = QStringLiteral("stream-Otro RTMP");
    QCOMPARE(read(account), QString());
    QVERIFY(write(account, QStringLiteral("sk-uno")));
    QVERIFY(write(account, QStringLiteral("sk-dos ñ \U0001F511")));
    QVERIFY(write(other, QStringLiteral("clave")));
    QCOMPARE(read(account), QStringLiteral("sk-dos ñ \U0001F511"));
    // What another program of the desktop finds under the service's name.
    QCOMPARE(outputOf("secret-tool lookup server NimbaraStudio user openai"),
        QStringLiteral("sk-dos ñ \U0001F511"));
    QVERIFY(write(other, QString()));
    QCOMPARE(read(other), QString());
}

void KeychainStoreTest::stoppedServiceLeavesTheThreadFree()
{
    QVERIFY(write(account, QStringLiteral("sk-tres")));
    const QTemporaryDir folder;
    SecretStore secrets(m_store,
        folder.filePath(QStringLiteral("secrets.json")),
        std::chrono::milliseconds(1000));
    int beats = 0;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, this, [&] { ++beats; });
    heart.start(5);

    QCOMPARE(::kill(m_service, SIGSTOP), 0);
    std::optional<QString> secret;
    secrets.readSecret(account, [&](const QString &found) { secret = found; });
    const bool gaveUp = QTest::qWaitFor([&] { return secret.has_value(); }, patience);
    ::kill(m_service, SIGCONT);
    QVERIFY(gaveUp);
    QVERIFY(secret->isEmpty());
    QVERIFY2(beats > 10, qPrintable(QString::number(beats)));

    QCOMPARE(read(account), QStringLiteral("sk-tres")); // and works again
}

void KeychainStoreTest::lockedServiceRefuses()
{
    QVERIFY(write(account, QStringLiteral("sk-cuatro")));
    outputOf("secret-tool lock --collection=login");
    QCOMPARE(read(account), QString()); // nobody is there to unlock it
    QVERIFY(!write(account, QStringLiteral("sk-cinco")));
}

void KeychainStoreTest::outlivesItsBus_data()
{
    QTest::addColumn<QStringList>("command");
    const auto probe = QStringLiteral(NIMBARA_SECRET_PROBE);
    const auto service = QStringLiteral(NIMBARA_SECRET_SERVICE);
    QTest::newRow("no store") << QStringList { probe, QStringLiteral("keychain") };
    QTest::newRow("a store in use")
        << QStringList { service, QStringLiteral("--in-bus"), probe, QStringLiteral("keychain") };
}

void KeychainStoreTest::outlivesItsBus()
{
    QFETCH(QStringList, command);
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
        { QStringLiteral("--config-file=" NIMBARA_PRIVATE_BUS),
            QStringLiteral("--print-address"),
            QStringLiteral("--nofork") });
    QVERIFY(bus.waitForReadyRead(patience));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
        QString::fromUtf8(bus.readLine().trimmed()));

    QProcess probe;
    probe.setProcessEnvironment(environment);
    probe.start(command.takeFirst(), command);
    const auto ask = [&] {
        probe.write("?");
        return probe.waitForReadyRead(patience) ? probe.readLine() : QByteArray("(no answer)");
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

NIMBARA_TEST(KeychainStoreTest)
#include "keychain_store_test.moc"
