#include "secrets/secret_store.h"
#include "support/test_registry.h"

#include <QHash>
#include <QTemporaryDir>
#include <QTimer>

#include <optional>

using namespace nimbara;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString account = u"stream-YouTube"_s;
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

class SecretStoreTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(u"secrets.json"_s);
    }

    void oneOfTwoStoresIsEnough()
    {
        const QString unwritable
            = m_path + u"/secrets.json"_s; // below a file no folder can be made
        for (const auto &[fileWorks, manner, written] : { std::tuple { true, Manner::Works, true },
                 { true, Manner::Refuses, true },
                 { true, Manner::Silent, true },
                 { false, Manner::Works, true },
                 { false, Manner::Refuses, false },
                 { false, Manner::Silent, false } }) {
            QVERIFY(SecretFile(m_path).writeSecretFile(account, QString()));
            ScriptedStore system(manner);
            SecretStore store(system, fileWorks ? m_path : unwritable, 500ms);
            QString inFile;
            system.onWrite = [&] { inFile = store.readSecretFile(account); };
            std::vector<bool> answers;
            store.writeSecret(account, u"clave"_s, [&](bool done) { answers.push_back(done); });
            QVERIFY(answers.empty());
            QTRY_COMPARE(answers, std::vector<bool> { written });
            QCOMPARE(system.writes, 1); // always both, the file first
            QCOMPARE(inFile, fileWorks ? u"clave"_s : QString());
            QCOMPARE(system.secrets.contains(account), manner == Manner::Works);
        }
    }

    void readsTheFileThenTheSystem()
    {
        for (const auto &[inFile, manner, wanted] :
            { std::tuple { u"archivo"_s, Manner::Silent, u"archivo"_s },
                { QString(), Manner::Works, u"sistema"_s },
                { QString(), Manner::Refuses, QString() },
                { QString(), Manner::Silent, QString() } }) {
            ScriptedStore system(manner);
            system.secrets.insert(account, u"sistema"_s);
            QVERIFY(SecretFile(m_path).writeSecretFile(account, inFile));
            SecretStore store(system, m_path, 500ms);
            std::optional<QString> found;
            store.readSecret(account, [&](const QString &secret) { found = secret; });
            QVERIFY(!found);
            QTRY_COMPARE(found, std::optional(wanted));
            QCOMPARE(system.reads, inFile.isEmpty() ? 1 : 0);
        }
    }

    void operationsKeepTheirOrder()
    {
        ScriptedStore system(Manner::Refuses);
        SecretStore store(system, m_path);
        QStringList found;
        const QStringList values { u"una"_s, u"dos"_s, QString() };
        for (const QString &value : values) {
            store.writeSecret(account, value, [](bool) {});
            store.readSecret(account, [&](const QString &secret) { found << secret; });
        }
        QTRY_COMPARE(found, values);
    }

    void silentStoreHoldsUpNothing()
    {
        ScriptedStore system(Manner::Silent);
        SecretStore store(system, m_path); // patient: no answer is given up here
        int answered = 0;
        bool written = false;
        store.readSecret(account, [&](const QString &) { ++answered; });
        QTRY_COMPARE(system.reads, 1);
        store.writeSecret(account, u"clave"_s, [&](bool done) { written = done; });
        QTRY_VERIFY(written);
        QCOMPARE(answered, 0);
    }

    void storeThatGoesAwayFinishesItsFile()
    {
        ScriptedStore system(Manner::Works);
        int answers = 0;
        {
            SecretStore store(system, m_path);
            store.writeSecret(account, u"clave"_s, [&](bool) { ++answers; });
        }
        QCoreApplication::processEvents();
        QCOMPARE(answers, 0);
        QCOMPARE(SecretFile(m_path).readSecretFile(account), u"clave"_s);
    }
};

NIMBARA_TEST(SecretStoreTest)
#include "secret_store_test.moc"
