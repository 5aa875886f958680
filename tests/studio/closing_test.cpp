#include "studio/studio_fixture.h"
#include "support/hung_save.h"
#include "support/scripted_key_store.h"
#include "support/test_registry.h"

#include <QScopeGuard>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct ClosingFixture {
    QTemporaryDir folder;
    ScriptedKeyStore *keychain = new ScriptedKeyStore(ScriptedKeyStore::Manner::Waits);
    StudioFixture desk;

    ClosingFixture()
        : desk(peers())
    {
    }
    StudioPeers peers()
    {
        StudioPeers peers;
        peers.keychain.reset(keychain);
        peers.dataFolder = folder.path();
        return peers;
    }
    [[nodiscard]] bool savesKey()
    {
        desk.studio.streams().setKey(0, u"k3y-closing"_s);
        desk.studio.streams().saveKeys();
        return desk.pollUntil([&] { return keychain->waiting() == 1; });
    }
    [[nodiscard]] QString close(bool awaitsProjects = true)
    {
        const auto told = desk.studio.shutDown(awaitsProjects);
        return told ? told->spanish() : QString();
    }
};

} // namespace

/// What the operator reads before the program ends.
class ClosingTest : public QObject {
    Q_OBJECT
    QByteArray m_data;

private Q_SLOTS:
    void init()
    {
        m_data = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", "/dev/null/no-folder"); // the system's key store alone
    }
    void cleanup() { qputenv("XDG_DATA_HOME", m_data); }

    /// One that was on its way failed, or hung, without a word.
    void aSaveThatFailsIsTold()
    {
        {
            ClosingFixture f;
            QVERIFY(f.savesKey());
            QCOMPARE(f.close(),
                u"Las claves no terminaron de guardarse; revísalas en el próximo inicio."_s);
        }
        {
            ClosingFixture f;
            f.keychain->refused = u"stream-YouTube"_s;
            QVERIFY(f.savesKey());
            QTimer::singleShot(0, &f.desk.studio, [&f] { f.keychain->release(); });
            f.desk.studio.projects().saveProject(f.folder.filePath(u"no/culto.nimbara"_s));
            QCOMPARE(f.close(),
                u"culto.nimbara: No se pudo guardar proyecto\n"
                "No se pudo guardar en el almacén seguro del sistema"_s);
        }
    }

    /// What the operator gave up is neither waited for nor told again.
    void aProjectThatHangsIsToldUnlessItWasGivenUp()
    {
        for (const bool isAwaited : { true, false }) {
            ClosingFixture f;
            const HungSave hung(f.folder.path());
            f.desk.studio.projects().saveProject(hung.file);
            QCOMPARE(f.close(isAwaited),
                isAwaited
                    ? u"El proyecto no terminó de guardarse; su archivo puede seguir como estaba."_s
                    : QString());
        }
    }
};

NIMBARA_TEST(ClosingTest)
#include "closing_test.moc"
