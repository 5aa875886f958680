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
enum class Manner { Works, Refuses, Silent };

/// A system's store that works, refuses everything or never answers.
class ScriptedStore final : public SystemKeyStore {
public:
    explicit ScriptedStore(Manner manner)
        : m_manner(manner)
    {
    }
    void readKeychain(const QString &name, std::function<void(const QString &)> done) override
    {
        ++reads;
        answer([this, name, done] { done(works() ? secrets.value(name) : QString()); });
    }
    void writeKeychain(const QString &name,
        const QString &value,
        std::function<void(bool)> done) override
    {
        ++writes;
        onWrite();
        if (works()) {
            secrets.insert(name, value);
        }
        answer([this, done] { done(works()); });
    }

    QHash<QString, QString> secrets;
    int reads = 0;
    int writes = 0;
    std::function<void()> onWrite = [] {};

private:
    [[nodiscard]] bool works() const { return m_manner == Manner::Works; }
    void answer(std::function<void()> give)
    {
        if (m_manner != Manner::Silent) {
            QTimer::singleShot(0, &m_context, std::move(give));
        }
    }
    Manner m_manner;
    QObject m_context;
};

} // namespace

Q_DECLARE_METATYPE(Manner)

class SecretStoreTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    QString m_unwritable; // below a file no folder can be made

private Q_SLOTS:
    void init();
    void oneOfTwoStoresIsEnough_data();
    void oneOfTwoStoresIsEnough();
    void readsTheFileThenTheSystem_data();
    void readsTheFileThenTheSystem();
    void operationsKeepTheirOrder();
    void silentStoreHoldsUpNothing();
    void storeThatGoesAwayFinishesItsFile();
};

void SecretStoreTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(QStringLiteral("secrets.json"));
    m_unwritable = m_path + QStringLiteral("/secrets.json");
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
    QVERIFY(SecretFile(m_path).writeSecretFile(account, QString()));
    ScriptedStore system(manner);
    const QString path = fileWorks ? m_path : m_unwritable;
    SecretStore store(system, path, std::chrono::milliseconds(500));
    QString inFile;
    system.onWrite = [&] { inFile = store.readSecretFile(account); };
    std::vector<bool> answers;
    store.writeSecret(account, QStringLiteral("clave"), [&](bool done) {
        answers.push_back(done);
    });
    QVERIFY(answers.empty());
    QTRY_COMPARE(answers.size(), std::size_t { 1 });
    QTEST(static_cast<bool>(answers[0]), "written");
    QCOMPARE(system.writes, 1); // always both, the file first
    QCOMPARE(inFile, fileWorks ? QStringLiteral("clave") : QString());
    QCOMPARE(system.secrets.contains(account), manner == Manner::Works);
}

void SecretStoreTest::readsTheFileThenTheSystem_data()
{
    QTest::addColumn<QString>("inFile");
    QTest::addColumn<Manner>("manner");
    QTest::addColumn<QString>("found");
    const auto file = QStringLiteral("archivo");
    QTest::newRow("file") << file << Manner::Silent << file;
    QTest::newRow("system") << QString() << Manner::Works << QStringLiteral("sistema");
    QTest::newRow("refused") << QString() << Manner::Refuses << QString();
    QTest::newRow("never answered") << QString() << Manner::Silent << QString();
}

void SecretStoreTest::readsTheFileThenTheSystem()
{
    QFETCH(QString, inFile);
    QFETCH(Manner, manner);
    ScriptedStore system(manner);
    system.secrets.insert(account, QStringLiteral("sistema"));
    QVERIFY(SecretFile(m_path).writeSecretFile(account, inFile));
    SecretStore store(system, m_path, std::chrono::milliseconds(500));
    std::optional<QString> found;
    store.readSecret(account, [&](const QString &secret) { found = secret; });
    QVERIFY(!found);
    QTRY_VERIFY(found);
    QTEST(*found, "found");
    QCOMPARE(system.reads, inFile.isEmpty() ? 1 : 0);
}

void SecretStoreTest::operationsKeepTheirOrder()
{
    ScriptedStore system(Manner::Refuses);
    SecretStore store(system, m_path);
    QStringList found;
    const QStringList values { QStringLiteral("una"), QStringLiteral("dos"), QString() };
    for (const QString &value : values) {
        store.writeSecret(account, value, [](bool) {});
        store.readSecret(account, [&](const QString &secret) { found << secret; });
    }
    QTRY_COMPARE(found, values);
}

void SecretStoreTest::silentStoreHoldsUpNothing()
{
    ScriptedStore system(Manner::Silent);
    SecretStore store(system, m_path); // patient: no answer is given up here
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
        SecretStore store(system, m_path);
        store.writeSecret(account, QStringLiteral("clave"), [&](bool) { ++answers; });
    }
    QCoreApplication::processEvents();
    QCOMPARE(answers, 0);
    QCOMPARE(SecretFile(m_path).readSecretFile(account), QStringLiteral("clave"));
}

NIMBARA_TEST(SecretStoreTest)
#include "secret_store_test.moc"
