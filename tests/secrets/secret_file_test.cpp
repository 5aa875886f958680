#include "secrets/secret_file.h"
#include "support/full_disk.h"
#include "support/test_registry.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

const QString account = u"openai"_s;
const QByteArray cutOff("{\"openai\":\"sk-1\",\"stream-YouTube\":\"clave");

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

bool othersMayRead(const QString &path)
{
    return QFile::permissions(path) & (QFileDevice::ReadGroup | QFileDevice::ReadOther);
}

} // namespace

class SecretFileTest : public QObject {
    Q_OBJECT

    /// A file that everybody may read.
    void put(const QByteArray &bytes) const
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        QCOMPARE(::chmod(QFile::encodeName(m_path).constData(), 0644), 0);
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
        QVERIFY(QFile::remove(m_path));
        QCOMPARE(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
        SecretFile file(m_path);
        QVERIFY(file.readSecretFile(account).isEmpty()); // at once: a pipe has no end
        QVERIFY(file.writeSecretFile(account, u"sk-1"_s));
        QCOMPARE(file.readSecretFile(account), u"sk-1"_s);
    }

    void brokenFileIsKeptAside()
    {
        put(cutOff);
        QVERIFY(SecretFile(m_path).writeSecretFile(account, u"sk-2"_s));
        QCOMPARE(contents(m_path), QByteArray(R"({"openai":"sk-2"})"));
        const QString kept = m_folder->filePath(names("secrets.json.bad-*").value(0));
        QCOMPARE(contents(kept), cutOff);
        QVERIFY(!othersMayRead(kept) && !othersMayRead(m_path));
        QVERIFY(SecretFile(m_path).writeSecretFile(account, u"sk-3"_s)); // over a sound file
        QCOMPARE(names("secrets.json.*").size(), 1);
    }

    /// The system calls of writes by a process whose umask would let everybody read.
    void nobodyElseMayReadForAMoment()
    {
        QProcess trace;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TMPDIR"_s, m_folder->path());
        trace.setProcessEnvironment(environment);
        trace.setChildProcessModifier([] { ::umask(0); });
        trace.start(u"strace"_s,
            { u"-f"_s,
                u"-etrace=open,openat,creat,chmod,fchmod,fchmodat,link,linkat,rename"_s,
                QCoreApplication::applicationFilePath(),
                u"SecretFileTest"_s,
                u"keepsSecretsOfAllAccounts"_s });
        QVERIFY2(trace.waitForFinished(120'000), "strace is missing or hangs");
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
    }

    void failedWritesKeepTheOldSecrets()
    {
        SecretFile file(m_path);
        QVERIFY(file.writeSecretFile(account, u"la de antes"_s));
        bool written = true;
        {
            const FullDisk disk(64);
            written = file.writeSecretFile(account, QString(5'000, u'x'));
        }
        QVERIFY(!written);
        rlimit before {}; // nor can it be opened
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none { 0, before.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        written = file.writeSecretFile(account, u"la nueva"_s);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &before), 0);
        QVERIFY(!written);
        QCOMPARE(file.readSecretFile(account), u"la de antes"_s);
        QCOMPARE(names("*").size(), 1);
    }

    void suddenEndKeepsTheOldOrTheNewSecrets()
    {
        QVERIFY(SecretFile(m_path).writeSecretFile(u"apibible"_s, u"intacta"_s));
        for (int round = 0; round < 8; ++round) {
            std::array<int, 2> line {};
            QCOMPARE(::pipe(line.data()), 0);
            const pid_t writer = ::fork();
            QVERIFY(writer >= 0);
            if (writer == 0) {
                for (char turn = 'a';
                     SecretFile(m_path).writeSecretFile(account, QString(20'000, QLatin1Char(turn)))
                     && ::write(line[1], &turn, 1) == 1;) {
                    turn = turn == 'a' ? 'b' : 'a';
                }
                ::_exit(1);
            }
            ::close(line[1]);
            char turn = 0;
            for (int writes = 0; writes <= round; ++writes) {
                QCOMPARE(::read(line[0], &turn, 1), ssize_t { 1 });
            }
            QCOMPARE(::kill(writer, SIGKILL), 0);
            QCOMPARE(::waitpid(writer, nullptr, 0), writer);
            ::close(line[0]);
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
