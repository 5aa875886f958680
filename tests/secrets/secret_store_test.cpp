#include "secrets/secret_store.h"
#include "support/test_registry.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace nimbara;

namespace {

const QString account = QStringLiteral("stream-YouTube");

/// A store that works, refuses everything or never answers.
class ScriptedStore final : public SystemKeyStore {
public:
    enum class Manner { Works, Refuses, Silent };

    explicit ScriptedStore(Manner manner)
        : m_manner(manner)
    {
    }

    void readKeychain(const QString &name, std::function<void(const QString &)> done) override
    {
        ++reads;
        answer([this, name, done] {
            done(m_manner == Manner::Works ? secrets.value(name) : QString());
        });
    }
    void writeKeychain(const QString &name,
        const QString &value,
        std::function<void(bool)> done) override
    {
        ++writes;
        onWrite();
        if (m_manner == Manner::Works) {
            secrets.insert(name, value);
        }
        answer([this, done] { done(m_manner == Manner::Works); });
    }

    QHash<QString, QString> secrets;
    int reads = 0;
    int writes = 0;
    std::function<void()> onWrite = [] {};

private:
    void answer(std::function<void()> give)
    {
        if (m_manner != Manner::Silent) {
            QTimer::singleShot(0, &m_context, std::move(give));
        }
    }
    Manner m_manner;
    QObject m_context;
};

using Manner = ScriptedStore::Manner;

} // namespace

Q_DECLARE_METATYPE(ScriptedStore::Manner)

class SecretStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void oneOfTwoStoresIsEnough_data();
    void oneOfTwoStoresIsEnough();
    void fileComesFirst();
    void readsTheFileThenTheSystem_data();
    void readsTheFileThenTheSystem();
    void readsWhatWasWrittenBefore();
    void silentStoreHoldsUpNothing();
    void storeThatGoesAwayFinishesItsFile();

private:
    [[nodiscard]] QString path(bool writable = true) const
    {
        // Below a file no folder can be made.
        return m_folder->filePath(
            writable ? QStringLiteral("secrets.json") : QStringLiteral("archivo/secrets.json"));
    }
    std::unique_ptr<QTemporaryDir> m_folder;
};

void SecretStoreTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QFile file(m_folder->filePath(QStringLiteral("archivo")));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void SecretStoreTest::oneOfTwoStoresIsEnough_data()
{
    QTest::addColumn<bool>("fileWorks");
    QTest::addColumn<Manner>("manner");
    QTest::addColumn<bool>("written");
    QTest::newRow("both") << true << Manner::Works << true;
    QTest::newRow("file alone") << true << Manner::Refuses << true;
    QTest::newRow("file, silent system") << true << Manner::Silent << true;
    QTest::newRow("system alone") << false << Manner::Works << true;
    QTest::newRow("neither") << false << Manner::Refuses << false;
    QTest::newRow("no file, silent system") << false << Manner::Silent << false;
}

void SecretStoreTest::oneOfTwoStoresIsEnough()
{
    QFETCH(bool, fileWorks);
    QFETCH(Manner, manner);
    QFETCH(bool, written);
    ScriptedStore system(manner);
    SecretStore store(system, path(fileWorks), std::chrono::milliseconds(500));
    std::vector<bool> answers;
    store.writeSecret(account, QStringLiteral("clave"), [&](bool done) {
        answers.push_back(done);
    });
    QVERIFY(answers.empty());
    QTRY_COMPARE(answers.size(), std::size_t { 1 });
    QCOMPARE(answers[0], written);
    QCOMPARE(system.writes, 1);
    QCOMPARE(store.readSecretFile(account), fileWorks ? QStringLiteral("clave") : QString());
    if (manner == Manner::Works) {
        QCOMPARE(system.secrets.value(account), QStringLiteral("clave"));
    }
}

void SecretStoreTest::fileComesFirst()
{
    ScriptedStore system(Manner::Works);
    SecretStore store(system, path());
    QString inFile;
    system.onWrite = [&] { inFile = store.readSecretFile(account); };
    store.writeSecret(account, QStringLiteral("clave"), [](bool) {});
    QTRY_COMPARE(system.writes, 1);
    QCOMPARE(inFile, QStringLiteral("clave"));

    // An empty secret leaves the file and empties the system's entry.
    store.writeSecret(account, QString(), [](bool) {});
    QTRY_COMPARE(system.writes, 2);
    QVERIFY(inFile.isEmpty());
    QVERIFY(system.secrets.contains(account) && system.secrets.value(account).isEmpty());
}

void SecretStoreTest::readsTheFileThenTheSystem_data()
{
    QTest::addColumn<QString>("inFile");
    QTest::addColumn<Manner>("manner");
    QTest::addColumn<QString>("found");
    QTest::addColumn<int>("reads");
    const auto file = QStringLiteral("archivo");
    QTest::newRow("file") << file << Manner::Works << file << 0;
    QTest::newRow("system") << QString() << Manner::Works << QStringLiteral("sistema") << 1;
    QTest::newRow("refused") << QString() << Manner::Refuses << QString() << 1;
    QTest::newRow("never answered") << QString() << Manner::Silent << QString() << 1;
}

void SecretStoreTest::readsTheFileThenTheSystem()
{
    QFETCH(QString, inFile);
    QFETCH(Manner, manner);
    ScriptedStore system(manner);
    system.secrets.insert(account, QStringLiteral("sistema"));
    if (!inFile.isEmpty()) {
        QVERIFY(SecretFile(path()).writeSecretFile(account, inFile));
    }
    SecretStore store(system, path(), std::chrono::milliseconds(500));
    std::optional<QString> found;
    store.readSecret(account, [&](const QString &secret) { found = secret; });
    QVERIFY(!found);
    QTRY_VERIFY(found);
    QTEST(*found, "found");
    QTEST(system.reads, "reads");
}

void SecretStoreTest::readsWhatWasWrittenBefore()
{
    ScriptedStore system(Manner::Refuses);
    SecretStore store(system, path());
    QStringList found;
    for (const auto &value : { QStringLiteral("una"), QStringLiteral("dos"), QString() }) {
        store.writeSecret(account, value, [](bool) {});
        store.readSecret(account, [&](const QString &secret) { found << secret; });
    }
    const QStringList expected { QStringLiteral("una"), QStringLiteral("dos"), QString() };
    QTRY_COMPARE(found, expected);
}

void SecretStoreTest::silentStoreHoldsUpNothing()
{
    ScriptedStore system(Manner::Silent);
    SecretStore store(system, path()); // patient: no answer is given up here
    int answered = 0;
    bool written = false;
    store.readSecret(account, [&](const QString &) { ++answered; });
    QTRY_COMPARE(system.reads, 1);
    store.writeSecret(account, QStringLiteral("clave"), [&](bool done) { written = done; });
    QTRY_VERIFY(written);
    QCOMPARE(answered, 0);
}

void SecretStoreTest::storeThatGoesAwayFinishesItsFile()
{
    ScriptedStore system(Manner::Works);
    int answers = 0;
    {
        SecretStore store(system, path());
        store.readSecret(account, [&](const QString &) { ++answers; });
        QTRY_COMPARE(system.reads, 1);
        answers = 0;
        store.writeSecret(account, QStringLiteral("clave"), [&](bool) { ++answers; });
    }
    QCoreApplication::processEvents();
    QCOMPARE(answers, 0);
    QCOMPARE(SecretFile(path()).readSecretFile(account), QStringLiteral("clave"));
}

NIMBARA_TEST(SecretStoreTest)
#include "secret_store_test.moc"
