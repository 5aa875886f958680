#include "studio/edit/recovery_copy.h"
#include "support/full_disk.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <atomic>
#include <future>
#include <map>
#include <optional>
#include <utility>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// One running program, as far as recovery goes. `opened`: what the making of a state waits for.
struct Instance {
    explicit Instance(const QString &folder)
        : dir(folder)
        , copy(std::in_place, folder, clock)
    {
    }
    void change(const QByteArray &state, const std::shared_future<void> &opened = {})
    {
        const auto make = [this, state, opened] {
            return ++made, opened.valid() ? opened.wait() : void(), state;
        };
        copy->changed(make, QStringLiteral("/culto/ñ.nimbara"));
    }
    /// One run of the frame clock, so much later.
    void poll(std::int64_t us = 0)
    {
        clock.advanceUs(us);
        if (const auto told = copy->poll()) {
            failures.append(told->spanish());
        }
    }
    /// Whatever waits for 2 s to pass is done, also what is tried again.
    bool settle()
    {
        clock.advanceUs(2'000'000);
        return QTest::qWaitFor([this] { return poll(20'000), copy->isSettled(); }, 60'000);
    }
    /// What the copies in the folder hold, one after the other.
    [[nodiscard]] QByteArray copies() const
    {
        QByteArrayList all;
        for (const QString &name : dir.entryList({ QStringLiteral("*.recovery") })) {
            all.append(takeRecoverable({ dir.filePath(name), {}, 0, {} }));
        }
        return all.join(' ');
    }

    QDir dir;
    ManualClock clock;
    std::atomic<int> made = 0; ///< states that were made, to be written
    std::optional<RecoveryCopy> copy;
    QStringList failures;
};

} // namespace

/// Unsaved work after a crash.
class RecoveryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void killedAtAnyMomentItLeavesAWholeCopy()
    {
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        const auto copies = [&] { return dir.entryList({ QStringLiteral("*.recovery") }).size(); };
        QRandomGenerator random(20'261'129);
        std::map<QString, QProcess> editors;
        for (int number = 0; number <= 20; ++number) {
            const QString name = QString::number(number);
            editors[name].start(QStringLiteral(NIMBARA_RECOVERY_CHILD), { folder.path(), name });
            QVERIFY(editors[name].waitForReadyRead(60'000));
        }
        QTRY_COMPARE(copies(), qsizetype(editors.size())); // from here on they are written anew
        const QString alive = QStringLiteral("20");
        for (auto &[name, editor] : editors) {
            if (name != alive) {
                QTest::qWait(random.bounded(300));
                editor.kill();
                QTRY_COMPARE(editor.state(), QProcess::NotRunning);
            }
        }
        const RecoverySearch found = findRecoverable(folder.path());
        QCOMPARE(found.damaged, QStringList());
        QCOMPARE(found.works.size(), editors.size() - 1);
        std::int64_t newer = found.works.at(0).timeMs;
        for (const RecoverableWork &work : found.works) {
            const QByteArray state = takeRecoverable(work);
            QCOMPARE(state, (state.left(state.indexOf(' ')) + ' ').repeated(20'000));
            QVERIFY(std::exchange(newer, work.timeMs) >= work.timeMs);
        }
        editors[alive].kill();
        QTRY_COMPARE(editors[alive].state(), QProcess::NotRunning);
        const auto last = findRecoverable(folder.path()).works; // the others are claimed
        QVERIFY(last.size() == 1 && last[0].projectPath == alive);
        QCOMPARE(dir.entryList({ QStringLiteral("*.recovery.*") }), QStringList());
    }

    void writesOneAtATimeTheNewestLast()
    {
        const QTemporaryDir folder;
        Instance instance(folder.path());
        std::promise<void> gate;
        instance.change("uno", gate.get_future().share());
        instance.poll(1'999'999);
        QVERIFY(instance.copy && instance.made == 0);
        instance.poll(1);
        QTRY_VERIFY(instance.made == 1);
        for (const char *state : { "dos", "tres" }) {
            instance.change(state);
            instance.poll(2'000'000);
        }
        gate.set_value();
        QVERIFY(instance.settle());
        QCOMPARE(instance.made.load(), 2);
        QCOMPARE(instance.copies(), "tres");
        QVERIFY(findRecoverable(folder.path()).works.empty()); // it runs
        instance.change("cuatro");
        instance.copy.reset(); // an end that nobody was asked about
        const RecoverySearch found = findRecoverable(folder.path());
        QCOMPARE(takeRecoverable(found.works.at(0)), "cuatro");
        QCOMPARE(found.works[0].projectPath, QStringLiteral("/culto/ñ.nimbara"));
    }

    void cleanLeavesNothing()
    {
        enum Moment { BeforeTheWrite, DuringIt, AfterIt, HangingAtTheEnd };
        for (const Moment moment : { BeforeTheWrite, DuringIt, AfterIt, HangingAtTheEnd }) {
            const QTemporaryDir folder;
            Instance instance(folder.path());
            instance.change("cero");
            QVERIFY(instance.settle());
            std::promise<void> gate;
            instance.change("uno", gate.get_future().share());
            instance.poll(moment == BeforeTheWrite ? 0 : 2'000'000);
            QTRY_VERIFY(instance.made == 2 || moment == BeforeTheWrite);
            if (moment == AfterIt) {
                gate.set_value();
                QVERIFY(instance.settle());
                QCOMPARE(instance.copies(), "uno");
            }
            instance.copy->clean();
            if (moment == DuringIt) {
                gate.set_value();
                instance.change("dos");
                QVERIFY(instance.settle());
                QCOMPARE(instance.copies(), "dos");
                instance.copy->clean();
            }
            QVERIFY(moment == HangingAtTheEnd || instance.settle());
            instance.copy.reset();
            if (moment == HangingAtTheEnd) {
                gate.set_value();
            }
            QTRY_COMPARE(instance.dir.entryList(QDir::Files | QDir::Hidden), QStringList());
            QCOMPARE(instance.failures, QStringList());
        }
    }

    void aFullDiskIsToldOnceAndTheOldCopyStays()
    {
        const QTemporaryDir folder;
        Instance instance(folder.path());
        instance.change("1");
        QVERIFY(instance.settle());
        for (const int run : { 1, 2 }) {
            {
                const FullDisk disk(100);
                const int before = instance.made;
                instance.change(QByteArray::number(run + 1));
                QTRY_VERIFY((instance.poll(2'000'000), instance.made > before + 3));
                QCOMPARE(instance.copies(), QByteArray::number(run));
            }
            QVERIFY(instance.settle());
            QCOMPARE(instance.copies(), QByteArray::number(run + 1));
            QCOMPARE(instance.failures.size(), run);
        }
    }

    void adoptedWorkIsNeverWithoutACopy()
    {
        for (const bool dropped : { false, true }) {
            const QTemporaryDir folder;
            {
                Instance gone(folder.path());
                gone.change("uno");
            }
            Instance instance(folder.path());
            instance.copy->adopt(findRecoverable(folder.path()).works.at(0));
            instance.change("dos");
            instance.poll();
            QCOMPARE(instance.copies(), "uno");
            if (dropped) {
                instance.copy->clean();
            }
            QVERIFY(instance.settle());
            QCOMPARE(instance.copies(), dropped ? "" : "dos");
        }
    }

    void damagedCopiesAreMovedAsideAndProcessNumbersAreNotTrusted()
    {
        const QTemporaryDir folder;
        Instance instance(folder.path());
        instance.change("uno");
        QVERIFY(instance.settle());
        const auto in
            = [&](const char *name) { return instance.dir.filePath(QLatin1String(name)); };
        // As after a start of the computer: another program of this name has the owner's number.
        for (const QString &name : instance.dir.entryList(QDir::Files)) {
            QVERIFY(QFile::copy(instance.dir.filePath(name), in("a.") + name.section(u'.', 1)));
        }
        QVERIFY(QFile::copy(in("a.recovery"), in("b.recovery")));
        QVERIFY(QFile::resize(in("b.recovery"), QFile(in("b.recovery")).size() - 1));
        const RecoverySearch found = findRecoverable(folder.path());
        QCOMPARE(found.works.size(), 1U);
        QCOMPARE(found.works[0].file, in("a.recovery"));
        QCOMPARE(found.damaged, QStringList(in("damaged/b.recovery")));
        QVERIFY(QFile::exists(in("damaged/b.recovery")));
        discardRecoverable(found.works[0]);
        QCOMPARE(instance.copies(), "uno");
    }
};

NIMBARA_TEST(RecoveryTest)
#include "recovery_test.moc"
