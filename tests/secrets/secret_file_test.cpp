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

#include <sys/resource.h>
#include <sys/stat.h>

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

const QString account = u"openai"_s;
constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

const QByteArray cutOff("{\"openai\":\"sk-1\",\"stream-YouTube\":\"clave");

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
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(u"secrets.json"_s);
    }

    void keepsSecretsOfAllAccounts()
    {
        const QString deep = m_folder->filePath(u"a/b/secrets.json"_s);
        SecretFile file(deep);
        QVERIFY(file.readSecretFile(account).isEmpty());
        QVERIFY(file.writeSecretFile(account, u"sk-ñ 1"_s));
        QVERIFY(file.writeSecretFile(u"stream-Otro RTMP"_s, u"clave"_s));
        QCOMPARE(file.readSecretFile(account), u"sk-ñ 1"_s);
        QCOMPARE(contents(deep), QByteArray(R"({"openai":"sk-ñ 1","stream-Otro RTMP":"clave"})"));
        QVERIFY(file.writeSecretFile(account, QString()));
        QCOMPARE(contents(deep), QByteArray(R"({"stream-Otro RTMP":"clave"})"));
    }

    void unreadableFilesHoldNothing()
    {
        for (const QByteArray &bytes : { QByteArray("openai=sk-1"),
                 cutOff,
                 QByteArray(R"(["openai"])"),
                 QByteArray(R"({"openai":7})"),
                 QByteArray(),
                 QByteArray(R"({"openai":"sk-1"})").leftJustified(2 << 20) }) {
            put(bytes);
            QVERIFY(SecretFile(m_path).readSecretFile(account).isEmpty());
            QCOMPARE(contents(m_path), bytes);
        }
    }

    void brokenFileIsKeptAside()
    {
        put(cutOff, ownerOnly | QFileDevice::ReadGroup | QFileDevice::ReadOther);
        QVERIFY(SecretFile(m_path).writeSecretFile(account, u"sk-2"_s));
        QCOMPARE(contents(m_path), QByteArray(R"({"openai":"sk-2"})"));
        const QStringList kept = names("secrets.json.bad-*");
        QCOMPARE(kept.size(), 1);
        QCOMPARE(contents(m_folder->filePath(kept[0])), cutOff);
        QVERIFY(!QFile::permissions(m_folder->filePath(kept[0])).testFlag(QFileDevice::ReadOther));

        // A sound file is never put aside.
        QVERIFY(SecretFile(m_path).writeSecretFile(account, u"sk-3"_s));
        QCOMPARE(names("secrets.json.*").size(), 1);
    }

    void pipeNeverBlocks()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
        SecretFile file(m_path);
        QVERIFY(file.readSecretFile(account).isEmpty());
        QVERIFY(file.writeSecretFile(account, u"sk-1"_s));
        QCOMPARE(file.readSecretFile(account), u"sk-1"_s);
    }

    void nobodyElseMayReadForAMoment()
    {
        // The system calls of one write, by a process whose umask would let everybody read.
        put("{}", ownerOnly | QFileDevice::ReadOther);
        QProcess trace;
        trace.setChildProcessModifier([] { ::umask(0); });
        trace.start(u"strace"_s,
            { u"-f"_s,
                u"-etrace=open,openat,creat,chmod,fchmod,fchmodat,link,linkat,rename"_s,
                QStringLiteral(NIMBARA_SECRET_PROBE),
                u"write"_s,
                m_path });
        QVERIFY2(trace.waitForFinished(60'000), "strace is missing or hangs");
        QCOMPARE(trace.exitCode(), 0);

        int created = 0;
        const QString calls = QString::fromUtf8(trace.readAllStandardError());
        static const QRegularExpression creates(u"O_CREAT|O_TMPFILE|creat\\("_s);
        for (const QString &call : calls.split(u'\n')) {
            const bool creation = call.contains(m_folder->path()) && call.contains(creates);
            created += creation ? 1 : 0;
            QVERIFY2(!(creation || call.contains(u"chmod("_s)) || call.contains(u", 0600)"_s),
                qPrintable(call));
        }
        QVERIFY2(created > 0, qPrintable(calls));
        QVERIFY(!QFile::permissions(m_path).testFlag(QFileDevice::ReadOther));
    }

    void fullDiskKeepsTheOldSecrets()
    {
        SecretFile file(m_path);
        QVERIFY(file.writeSecretFile(account, u"la de antes"_s));
        bool written = true;
        {
            const nimbara::testing::FullDisk disk(64);
            written = file.writeSecretFile(account, QString(5'000, u'x'));
        }
        QVERIFY(!written);
        QCOMPARE(file.readSecretFile(account), u"la de antes"_s);
        QCOMPARE(names("*").size(), 1);
    }

    void aFileThatCannotBeOpenedIsLeftAlone()
    {
        SecretFile file(m_path);
        QVERIFY(file.writeSecretFile(account, u"la de antes"_s));
        rlimit before {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none { 0, before.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        const bool written = file.writeSecretFile(account, u"la nueva"_s);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &before), 0);
        QVERIFY(!written);
        QCOMPARE(file.readSecretFile(account), u"la de antes"_s);
        QCOMPARE(names("*").size(), 1);
    }

    void suddenEndKeepsTheOldOrTheNewSecrets()
    {
        SecretFile file(m_path);
        QVERIFY(file.writeSecretFile(u"apibible"_s, u"intacta"_s));
        for (int round = 0; round < 8; ++round) {
            QProcess writer;
            writer.start(QStringLiteral(NIMBARA_SECRET_PROBE), { u"loop"_s, m_path });
            for (int writes = 0; writes <= round; ++writes) {
                QVERIFY(writer.waitForReadyRead(30'000));
                static_cast<void>(writer.readLine());
            }
            writer.kill();
            QVERIFY(writer.waitForFinished(30'000));
            const QJsonObject object = QJsonDocument::fromJson(contents(m_path)).object();
            const QString secret = object[account].toString();
            QCOMPARE(secret.size(), 20'000);
            QCOMPARE(secret.count(secret.front()), 20'000);
            QCOMPARE(object[u"apibible"_s].toString(), u"intacta"_s);
        }
    }

    void leftoversGoAway()
    {
        for (const auto &[name, age] : { std::pair { "viejo1", 600 }, { "ahora1", 0 } }) {
            QFile left(m_path + u".new-"_s + QLatin1String(name));
            QVERIFY(left.open(QIODevice::WriteOnly));
            QVERIFY(left.setFileTime(QDateTime::currentDateTime().addSecs(-age),
                QFileDevice::FileModificationTime));
        }
        QVERIFY(SecretFile(m_path).writeSecretFile(account, u"sk-1"_s));
        QCOMPARE(names("secrets.json.new-*"), { u"secrets.json.new-ahora1"_s });
    }
};

NIMBARA_TEST(SecretFileTest)
#include "secret_file_test.moc"
