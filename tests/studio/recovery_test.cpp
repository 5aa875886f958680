#include "studio/edit/recovery_copy.h"
#include "support/full_disk.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <atomic>
#include <csignal>
#include <future>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

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
        copy->changed(make, u"/culto/ñ.nimbara"_s);
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
        for (const QString &name : dir.entryList({ u"*.recovery"_s })) {
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
    void killedAtAnyPointOfAWriteItLeavesAWholeCopy()
    {
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        constexpr int killed = 20; // and one that goes on
        pid_t editor = 0;
        for (int number = 0; number <= killed; ++number) {
            editor = fork();
            if (editor == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL); // never without the test
                RecoveryPlace place(folder.path());
                for (char state = 'a';; state = state == 'a' ? 'b' : 'a') {
                    place.write({ QByteArray(500'000, state), u"p"_s, number }, false);
                }
            }
            QVERIFY(editor > 0);
            QTRY_COMPARE(dir.entryList({ u"*.recovery"_s }).size(), number + 1);
            if (number < killed) {
                QTest::qSleep(number); // another point of a later write each time
                QCOMPARE(::kill(editor, SIGKILL), 0);
                QCOMPARE(::waitpid(editor, nullptr, 0), editor);
            }
        }
        const RecoverySearch found = findRecoverable(folder.path());
        QCOMPARE(found.damaged, QStringList());
        QCOMPARE(found.works.size(), std::size_t(killed));
        std::int64_t newest = killed;
        for (const RecoverableWork &work : found.works) {
            const QByteArray state = takeRecoverable(work);
            QCOMPARE(state, QByteArray(500'000, state[0]));
            QCOMPARE(work.timeMs, --newest);
        }
        ::kill(editor, SIGKILL);
        ::waitpid(editor, nullptr, 0);
        QCOMPARE(findRecoverable(folder.path()).works.size(), 1U); // the others are claimed
        QCOMPARE(dir.entryList({ u"*.recovery.*"_s }), QStringList());
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
        QCOMPARE(found.works[0].projectPath, u"/culto/ñ.nimbara"_s);
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
