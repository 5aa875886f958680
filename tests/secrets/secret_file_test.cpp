#include "secrets/secret_file.h"
#include "support/full_disk.h"
#include "support/test_registry.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace nimbara;

namespace {

const QString account = QStringLiteral("openai");
constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

} // namespace

class SecretFileTest : public QObject {
    Q_OBJECT

    void put(const QByteArray &bytes, QFileDevice::Permissions permissions = ownerOnly) const
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.setPermissions(permissions);
    }
    [[nodiscard]] QStringList names(const char *pattern) const
    {
        return QDir(m_folder->path()).entryList({ QString::fromLatin1(pattern) }, QDir::Files);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;

private Q_SLOTS:
    void init();
    void keepsSecretsOfAllAccounts();
    void unreadableFilesHoldNothing_data();
    void unreadableFilesHoldNothing();
    void brokenFileIsKeptAside();
    void wrongShapesNeverBlock();
    void nobodyElseMayReadForAMoment();
    void fullDiskKeepsTheOldSecrets();
    void suddenEndKeepsTheOldOrTheNewSecrets();
    void leftoversGoAway();
};

void SecretFileTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(QStringLiteral("secrets.json"));
}

void SecretFileTest::keepsSecretsOfAllAccounts()
{
    const QString deep = m_folder->filePath(QStringLiteral("a/b/secrets.json"));
    SecretFile file(deep);
    QVERIFY(file.readSecretFile(account).isEmpty());
    QVERIFY(file.writeSecretFile(account, QStringLiteral("sk-ñ 1")));
    QVERIFY(file.writeSecretFile(QStringLiteral("stream-Otro RTMP"), QStringLiteral("clave")));
    QCOMPARE(file.readSecretFile(account), QStringLiteral("sk-ñ 1"));
    QCOMPARE(contents(deep), QByteArray(R"({"openai":"sk-ñ 1","stream-Otro RTMP":"clave"})"));

    QVERIFY(file.writeSecretFile(account, QString()));
    QCOMPARE(contents(deep), QByteArray(R"({"stream-Otro RTMP":"clave"})"));
    QVERIFY(file.readSecretFile(account).isEmpty());
}

void SecretFileTest::unreadableFilesHoldNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("not JSON") << QByteArray("openai=sk-1");
    QTest::newRow("cut off") << QByteArray(R"({"openai":"sk-1")");
    QTest::newRow("array") << QByteArray(R"(["openai"])");
    QTest::newRow("number member") << QByteArray(R"({"openai":7})");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("too large") << QByteArray(R"({"openai":"sk-1"})").leftJustified(2 << 20);
}

void SecretFileTest::unreadableFilesHoldNothing()
{
    QFETCH(QByteArray, bytes);
    put(bytes);
    QVERIFY(SecretFile(m_path).readSecretFile(account).isEmpty());
    QCOMPARE(contents(m_path), bytes);
}

void SecretFileTest::brokenFileIsKeptAside()
{
    const QByteArray broken(R"({"stream-YouTube":"clave-1","openai)");
    put(broken, ownerOnly | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    QVERIFY(SecretFile(m_path).writeSecretFile(account, QStringLiteral("sk-2")));
    QCOMPARE(contents(m_path), QByteArray(R"({"openai":"sk-2"})"));
    const QStringList kept = names("secrets.json.bad-*");
    QCOMPARE(kept.size(), 1);
    QCOMPARE(contents(m_folder->filePath(kept[0])), broken);
    QVERIFY(!QFile::permissions(m_folder->filePath(kept[0])).testFlag(QFileDevice::ReadOther));

    // A sound file is never put aside.
    QVERIFY(SecretFile(m_path).writeSecretFile(account, QStringLiteral("sk-3")));
    QCOMPARE(names("secrets.json.*").size(), 1);
}

void SecretFileTest::wrongShapesNeverBlock()
{
    QCOMPARE(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    SecretFile file(m_path);
    QVERIFY(file.readSecretFile(account).isEmpty());
    QVERIFY(file.writeSecretFile(account, QStringLiteral("sk-1")));
    QCOMPARE(file.readSecretFile(account), QStringLiteral("sk-1"));

    // Below a file no folder can be made.
    SecretFile below(m_path + QStringLiteral("/secrets.json"));
    QVERIFY(!below.writeSecretFile(account, QStringLiteral("sk-1")));
}

void SecretFileTest::nobodyElseMayReadForAMoment()
{
    // The system calls of one write, by a process whose umask would let everybody read.
    put("{}", ownerOnly | QFileDevice::ReadOther);
    QProcess trace;
    trace.setChildProcessModifier([] { ::umask(0); });
    trace.start(QStringLiteral("strace"),
        { QStringLiteral("-f"),
            QStringLiteral("-etrace=open,openat,creat,chmod,fchmod,fchmodat,link,linkat,rename"),
            QStringLiteral(NIMBARA_SECRET_PROBE),
            QStringLiteral("write"),
            m_path });
    QVERIFY2(trace.waitForFinished(60'000), "strace is missing or hangs");
    QCOMPARE(trace.exitCode(), 0);

    int created = 0;
    const QString calls = QString::fromUtf8(trace.readAllStandardError());
    for (const QString &call : calls.split(QLatin1Char('\n'))) {
        const bool ours = call.contains(m_folder->path());
        if (ours
            && call.contains(QRegularExpression(QStringLiteral("O_CREAT|O_TMPFILE|creat\\(")))) {
            QVERIFY2(call.contains(QStringLiteral(", 0600)")), qPrintable(call));
            ++created;
        }
        if (call.contains(QStringLiteral("chmod("))) {
            QVERIFY2(call.contains(QStringLiteral(", 0600)")), qPrintable(call));
        }
    }
    QVERIFY2(created > 0, qPrintable(calls));
    QVERIFY(!QFile::permissions(m_path).testFlag(QFileDevice::ReadOther));
}

void SecretFileTest::fullDiskKeepsTheOldSecrets()
{
    SecretFile file(m_path);
    QVERIFY(file.writeSecretFile(account, QStringLiteral("la de antes")));
    bool written = true;
    {
        const nimbara::testing::FullDisk disk(64);
        written = file.writeSecretFile(account, QString(5'000, QLatin1Char('x')));
    }
    QVERIFY(!written);
    QCOMPARE(file.readSecretFile(account), QStringLiteral("la de antes"));
    QCOMPARE(names("*").size(), 1);
}

void SecretFileTest::suddenEndKeepsTheOldOrTheNewSecrets()
{
    SecretFile file(m_path);
    QVERIFY(file.writeSecretFile(QStringLiteral("apibible"), QStringLiteral("intacta")));
    for (int round = 0; round < 8; ++round) {
        QProcess writer;
        writer.start(QStringLiteral(NIMBARA_SECRET_PROBE), { QStringLiteral("loop"), m_path });
        for (int writes = 0; writes <= round; ++writes) {
            QVERIFY(writer.waitForReadyRead(30'000));
            static_cast<void>(writer.readLine());
        }
        writer.kill();
        QVERIFY(writer.waitForFinished(30'000));
        const QJsonObject object = QJsonDocument::fromJson(contents(m_path)).object();
        const QString secret = object.value(account).toString();
        QCOMPARE(secret.size(), 20'000);
        QCOMPARE(secret.count(secret.front()), 20'000);
        QCOMPARE(object.value(QLatin1String("apibible")).toString(), QStringLiteral("intacta"));
    }
}

void SecretFileTest::leftoversGoAway()
{
    for (const char *name : { "secrets.json.new-viejo1", "secrets.json.new-ahora1" }) {
        QFile left(m_folder->filePath(QString::fromLatin1(name)));
        QVERIFY(left.open(QIODevice::WriteOnly));
        if (left.fileName().contains(QStringLiteral("viejo"))) {
            QVERIFY(left.setFileTime(QDateTime::currentDateTime().addSecs(-600),
                QFileDevice::FileModificationTime));
        }
    }
    QVERIFY(SecretFile(m_path).writeSecretFile(account, QStringLiteral("sk-1")));
    QCOMPARE(names("secrets.json.new-*"), { QStringLiteral("secrets.json.new-ahora1") });
}

NIMBARA_TEST(SecretFileTest)
#include "secret_file_test.moc"
