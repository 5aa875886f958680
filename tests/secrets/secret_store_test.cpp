#include "secrets/secret_store.h"
#include "support/scripted_key_store.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString account = u"stream-YouTube"_s;
using testing::ScriptedKeyStore;
using Manner = ScriptedKeyStore::Manner;

} // namespace

class SecretStoreTest : public QObject {
    Q_OBJECT

    const QTemporaryDir m_folder;
    QString m_path;

private Q_SLOTS:
    void init() { m_path = m_folder.filePath(QLatin1String(QTest::currentTestFunction())); }

    void oneOfTwoStoresIsEnough()
    {
        const QString unwritable = m_path + u"/a"_s; // below a file no folder can be made
        for (const auto &[fileWorks, manner, written] : { std::tuple { true, Manner::Works, true },
                 { true, Manner::Refuses, true },
                 { true, Manner::Waits, true },
                 { false, Manner::Works, true },
                 { false, Manner::Refuses, false },
                 { false, Manner::Waits, false } }) {
            QVERIFY(SecretFile(m_path).writeSecretFile(account, QString()));
            ScriptedKeyStore system(manner);
            SecretStore store(system, fileWorks ? m_path : unwritable, 500ms);
            QString inFile;
            system.onWrite = [&] { inFile = store.readSecretFile(account); };
            std::vector<bool> answers;
            store.writeSecret(account, u"clave"_s, [&](bool done) { answers.push_back(done); });
            QVERIFY(answers.empty());
            QTRY_COMPARE(answers, std::vector<bool> { written });
            QCOMPARE(system.written.size(), 1); // always both, the file first
            QCOMPARE(inFile, fileWorks ? u"clave"_s : QString());
            QCOMPARE(system.secrets.contains(account), manner == Manner::Works);
        }
    }

    void aRemovedSecretIsGoneFromBoth()
    {
        using Removal = SecretStore::Removal;
        for (const auto &[fileWorks, manner, removal] :
            { std::tuple { true, Manner::Works, Removal::Done },
                { true, Manner::Refuses, Removal::SystemMayKeepIt },
                { true, Manner::Waits, Removal::SystemMayKeepIt },
                { false, Manner::Works, Removal::Done }, // no file at all
                { false, Manner::Waits, Removal::SystemMayKeepIt } }) {
            QVERIFY(SecretFile(m_path).writeSecretFile(account, u"clave"_s));
            ScriptedKeyStore system(manner);
            SecretStore store(system, fileWorks ? m_path : m_path + u"/a"_s, 300ms);
            std::vector<Removal> answers;
            store.removeSecret(account, [&](Removal how) { answers.push_back(how); });
            QTRY_COMPARE(answers, std::vector<Removal> { removal });
            QCOMPARE(store.readSecretFile(account), QString());
            QCOMPARE(system.written, QStringList { account + u'=' });
        }
    }

    void readsTheFileThenTheSystem()
    {
        for (const auto &[inFile, manner, wanted] :
            { std::tuple { u"archivo"_s, Manner::Waits, u"archivo"_s },
                { QString(), Manner::Works, u"sistema"_s },
                { QString(), Manner::Refuses, QString() },
                { QString(), Manner::Waits, QString() } }) {
            ScriptedKeyStore system(manner);
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
        ScriptedKeyStore system(Manner::Refuses);
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
        ScriptedKeyStore system(Manner::Waits);
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
        ScriptedKeyStore system(Manner::Works);
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
