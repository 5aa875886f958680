#include "output/probe.h"
#include "studio/outputs/recording_journal.h"
#include "studio/studio_fixture.h"
#include "support/hung_file.h"
#include "support/no_threads.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <atomic>
#include <filesystem>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// What the disk says, as the test wants it.
struct Disk {
    std::atomic<std::int64_t> freeBytes { 10'000'000'000 };
    std::atomic<bool> grows { true };
    std::atomic<std::int64_t> fileBytes { 0 };
    std::atomic<bool> hangs { false };
    std::atomic<bool> syncHangs { false };
    std::atomic<int> looks { 0 };

    void answer()
    {
        hangs = false;
        hangs.notify_all();
    }
    void sync()
    {
        syncHangs = false;
        syncHangs.notify_all();
    }
};

struct RecordingFixture {
    QTemporaryDir folder;
    std::shared_ptr<Disk> disk = std::make_shared<Disk>();
    StudioFixture desk;
    RecordingDesk &recordings;

    RecordingFixture()
        : desk(peers())
        , recordings(desk.studio.recordings())
    {
    }
    [[nodiscard]] StudioPeers peers() const
    {
        StudioPeers peers;
        peers.dataFolder = folder.filePath(u"data"_s);
        peers.disk = [disk = disk](const QString & /*path*/) {
            disk->hangs.wait(true);
            disk->fileBytes += disk->grows ? 1000 : 0;
            ++disk->looks;
            return DiskWatch::Sample { disk->freeBytes, disk->fileBytes };
        };
        peers.diskSync = [disk = disk](const QString &path) {
            disk->syncHangs.wait(true);
            bringToDisk(path);
        };
        return peers;
    }
    bool records(const QString &name)
    {
        return desk.runUntil([&] {
            const auto figures = desk.studio.outputs().recording().figures();
            return recordings.path() == file(name) && figures && figures->pictures > 5;
        });
    }
    /// At whose every second the disk has answered: a leap would look like one that hangs.
    bool pass(int seconds = 61)
    {
        const std::int64_t until = desk.clock.monotonicUs() + seconds * 1'000'000LL;
        while (desk.clock.monotonicUs() < until) {
            const int looks = disk->looks;
            desk.clock.advanceUs(1'000'000);
            if (!desk.runUntil([&] { return disk->looks > looks; })) {
                return false;
            }
        }
        return true;
    }
    /// At whose every second the file has taken something.
    bool takes(int seconds)
    {
        const auto bytes = [&] {
            return desk.studio.outputs().recording().figures().value_or(OutletFigures {}).bytes;
        };
        for (; seconds > 0; --seconds) {
            const std::uint64_t before = bytes();
            desk.clock.advanceUs(1'000'000);
            if (!desk.runUntil([&] { return bytes() > before; })) {
                return false;
            }
        }
        return true;
    }
    bool ends()
    {
        return desk.runUntil([&] { return !desk.studio.outputs().recording().exists(); });
    }
    /// Recordings that the next start would mend.
    [[nodiscard]] qsizetype unfinished() const
    {
        const QDir journal(folder.filePath(u"data/recordings"_s));
        return journal.entryList({ u"*.recording"_s }, QDir::Files).size();
    }
    [[nodiscard]] QString file(const QString &name) const { return folder.filePath(name); }
    [[nodiscard]] bool noticed(const char *text)
    {
        return std::ranges::any_of(desk.studio.notices().all(), [&](const auto &notice) {
            return notice.text.spanish().contains(QString::fromUtf8(text));
        });
    }
};

} // namespace

class RecordingDeskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingIsOverwrittenAndADiskThatFailsIsTold()
    {
        RecordingFixture f;
        QFile old(f.file(u"a.webm"_s));
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        f.recordings.start(f.file(u"a.webm"_s));
        QVERIFY(f.records(u"a 2.webm"_s));
        QCOMPARE(QFileInfo(old).size(), 3);
        f.disk->grows = false;
        QVERIFY(f.records(u"a 3.webm"_s));
        QVERIFY(f.noticed("no crecía"));
        f.disk->grows = true;
        f.disk->freeBytes = RecordingDisk::reserveBytes - 1;
        QVERIFY(f.ends());
        QVERIFY(f.noticed("menos de 500 MB") && f.desk.told("Grabación guardada correctamente"));
        QVERIFY(probe(f.file(u"a 3.webm"_s)).duration > 0);
        QVERIFY(!f.recordings.isActive());
        QTRY_COMPARE(f.unfinished(), 1); // the one that did not grow
    }

    /// As while another program copies to the same disk.
    void aDiskThatIsLateAndTakesDataEndsNothing()
    {
        RecordingFixture f;
        f.recordings.start(f.file(u"late.webm"_s));
        QVERIFY(f.records(u"late.webm"_s));
        f.disk->syncHangs = true;
        QVERIFY(f.pass(20)); // looks come back all the same
        QVERIFY(f.noticed("responde muy tarde"));
        f.disk->hangs = true;
        QVERIFY(f.takes(20));
        QCOMPARE(f.recordings.path(), f.file(u"late.webm"_s));
        QVERIFY(!f.noticed("no crec"));
        f.disk->answer();
        f.recordings.finish();
        QVERIFY(f.ends());
        QVERIFY(f.desk.told("Grabación guardada correctamente"));
        QCOMPARE(f.unfinished(), 1); // a power cut could still take its end
        f.disk->sync();
        QTRY_COMPARE(f.unfinished(), 0);
        QVERIFY(probe(f.file(u"late.webm"_s)).duration > 0);
    }

    /// It neither answers nor takes anything.
    void aFileThatHangsIsLeftForAnother()
    {
        const QTemporaryDir folder;
        const QString name = folder.filePath(u"g.mkv"_s);
        HungFile hung(name);
        RecordingFixture f;
        const auto free = qScopeGuard([&] { hung.drain(); });
        f.recordings.start(name);
        hung.answer();
        const auto writes = [&](const QString &path) {
            return f.desk.runUntil([&] {
                const auto figures = f.desk.studio.outputs().recording().figures();
                return f.recordings.path() == path && figures && figures->pictures > 5;
            });
        };
        QVERIFY(writes(name));
        QVERIFY(QFile::remove(name)); // a name that is taken, as any file's
        QFile taken(name);
        QVERIFY(taken.open(QIODevice::WriteOnly));
        f.disk->hangs = true;
        QVERIFY(f.desk.runUntil([&] { return f.noticed("no crecía; sigue en g 2.mkv"); }));
        f.disk->answer();
        QVERIFY(writes(folder.filePath(u"g 2.mkv"_s)));
        f.recordings.finish();
        QVERIFY(f.ends());
        QVERIFY(probe(folder.filePath(u"g 2.mkv"_s)).duration > 0);
        QTRY_COMPARE(f.unfinished(), 1); // the one that is left
    }

    /// It is no recording before its disk has opened the file.
    void whatIsNotRecordedYetIsToldSo()
    {
        const QTemporaryDir folder;
        HungFile file(folder.filePath(u"late.mkv"_s));
        RecordingFixture f;
        const auto free = qScopeGuard([&] { file.drain(); });
        {
            const NoThreads none; // to find the name
            f.recordings.start(f.file(u"a.webm"_s));
            QVERIFY(f.recordings.isOpening() && f.desk.told("Preparando la grabación"));
            f.recordings.finish();
            QVERIFY(f.desk.told("Grabación detenida antes de empezar."));
        }
        QVERIFY(!f.recordings.isActive());
        f.desk.statuses.clear();
        f.recordings.start(folder.filePath(u"late.mkv"_s));
        QVERIFY(f.desk.told("Preparando la grabación") && !f.desk.told("Grabando"));
        file.drain();
        QVERIFY(f.desk.runUntil([&] { return f.desk.told("Grabando Programa y audio"); }));
        QVERIFY(f.recordings.isWriting());
        f.recordings.finish();
        QVERIFY(f.ends());
    }

    /// It is told until that is open, or the operator has ended it.
    void anotherFileIsLookedForUntilItIsOpen()
    {
        for (const bool goesOn : { true, false }) {
            const QTemporaryDir folder;
            const QString name = folder.filePath(u"h.mkv"_s);
            HungFile hung(name);
            HungFile next(folder.filePath(u"h 2.mkv"_s));
            RecordingFixture f;
            const auto free = qScopeGuard([&] {
                hung.drain();
                next.drain();
            });
            f.recordings.start(name);
            hung.answer();
            QVERIFY(f.desk.runUntil([&] { return f.desk.told("Grabando Programa"); }));
            QVERIFY(f.desk.runUntil([&] {
                const auto figures = f.desk.studio.outputs().recording().figures();
                return figures && figures->pictures > 5;
            }));
            QVERIFY(QFile::remove(name));
            QFile taken(name);
            QVERIFY(taken.open(QIODevice::WriteOnly));
            f.disk->hangs = true;
            QVERIFY(f.desk.runUntil([&] { return f.noticed("se busca otro a su lado"); }));
            QVERIFY(f.recordings.isOpening() && !f.noticed("sigue en"));
            f.disk->answer();
            if (goesOn) {
                next.drain();
            } else {
                f.recordings.finish();
            }
            QVERIFY(f.desk.runUntil([&] { return f.noticed("sigue en h 2.mkv") == goesOn; }));
            QVERIFY(!f.noticed("se busca otro"));
        }
    }

    /// It waited for as long as the operator turned.
    void turningThePartsMovesNoLimit()
    {
        const QTemporaryDir folder;
        HungFile unopened(folder.filePath(u"unopened.mkv"_s));
        RecordingFixture f;
        const auto free = qScopeGuard([&] { unopened.drain(); });
        f.recordings.start(folder.filePath(u"unopened.mkv"_s));
        for (int second = 0; second < 20 && f.recordings.isActive(); ++second) {
            f.recordings.setPartMinutes(second);
            QVERIFY(f.pass(1));
            f.desk.frame(); // without an answer of the disk
        }
        QVERIFY(!f.recordings.isActive() && f.noticed("no responde"));
    }

    void pausesAndGoesOnInParts()
    {
        RecordingFixture f;
        f.recordings.setPartMinutes(1);
        f.recordings.start(f.file(u"b.webm"_s));
        QVERIFY(f.records(u"b.webm"_s));
        f.recordings.pause();
        QVERIFY(f.recordings.isPaused() && f.recordings.isActive());
        QVERIFY(f.ends());
        QVERIFY(f.desk.studio.hasOutputs()); // no other format, no project, no sleep meanwhile
        QVERIFY(f.recordings.isActive()); // until the operator goes on or ends it
        f.recordings.resume();
        QVERIFY(f.records(u"b 2.webm"_s));
        QVERIFY(f.pass());
        QVERIFY(f.desk.runUntil([&] { return f.recordings.path() == f.file(u"b 3.webm"_s); }));
        f.recordings.setPartMinutes(0);
        QVERIFY(f.records(u"b 3.webm"_s));
        f.recordings.setPartMinutes(1);
        QVERIFY(f.pass());
        QVERIFY(f.desk.runUntil([&] { return f.recordings.path() == f.file(u"b 4.webm"_s); }));
        f.recordings.finish(); // mostly before the key frame with which that part begins
        QVERIFY(f.ends());
        const QString last = f.file(u"b 4.webm"_s);
        QTRY_VERIFY(!QFile::exists(last) || probe(last).duration > 0);
        QTRY_COMPARE(f.unfinished(), 0);
        for (const auto &name : { u"b.webm"_s, u"b 2.webm"_s, u"b 3.webm"_s }) {
            QVERIFY2(probe(f.file(name)).duration > 0, qPrintable(name));
        }
    }

    /// The programs go on, and the operator is told, whatever it is that the disk does not do.
    void aDiskThatHangsIsGivenUp()
    {
        const QTemporaryDir folder;
        HungFile unopened(folder.filePath(u"unopened.mkv"_s));
        HungFile file(folder.filePath(u"hung.mkv"_s)); // must not be finished
        RecordingFixture f;
        const auto free = qScopeGuard([&] {
            unopened.drain();
            file.drain();
        });
        const auto givesUp = [&] {
            return f.desk.runUntil([&] { return f.noticed("no responde"); })
                && !f.recordings.isActive() && !f.desk.studio.hasOutputs();
        };
        const auto start = [&](const QString &name) {
            Notices &notices = f.desk.studio.notices();
            while (!notices.all().empty()) {
                notices.settle(notices.all().front().id);
            }
            f.disk->grows = true;
            f.recordings.start(folder.filePath(name));
        };
        start(u"unopened.mkv"_s);
        QVERIFY(f.recordings.isActive() && f.recordings.isOpening());
        QVERIFY(!f.recordings.isPaused() && !f.recordings.isWriting());
        QVERIFY(givesUp());
        QVERIFY(f.noticed("No se pudo iniciar la grabación")); // nor did it stop

        start(u"hung.mkv"_s);
        file.answer();
        const auto figures = [&] { return f.desk.studio.outputs().recording().figures(); };
        QVERIFY(f.desk.runUntil([&] { return figures() && figures()->pictures > 30; }));
        f.recordings.finish();
        f.disk->grows = false;
        QVERIFY(f.desk.studio.hasOutputs());
        QVERIFY(givesUp());
    }

    /// The part, or the file, was given up; what its disk does at last must not reach another one.
    void aNameThatWasGivenUpIsNotTakenAgain()
    {
        const QTemporaryDir folder;
        const auto name = [&](const char *end) { return folder.filePath(QLatin1String(end)); };
        HungFile first(name("e.mkv"));
        HungFile part(name("pipe"));
        std::filesystem::create_hard_link(folder.filePath(u"pipe"_s).toStdString(),
            name("e 3.mkv").toStdString());
        RecordingFixture f;
        const auto free = qScopeGuard([&] {
            first.drain();
            part.drain();
        });
        f.recordings.start(name("e.mkv"));
        QVERIFY(f.desk.runUntil([&] { return f.noticed("No se pudo iniciar"); }));
        f.recordings.start(name("e.mkv"));
        const auto isAt = [&](const char *end) {
            return f.desk.runUntil([&] {
                return f.recordings.path() == name(end) && f.recordings.isWriting()
                    && f.desk.studio.outputs().recording().ready();
            });
        };
        QVERIFY(isAt("e 2.mkv"));
        f.recordings.setPartMinutes(1);
        QVERIFY(f.pass());
        QVERIFY(f.desk.runUntil([&] { return f.noticed("sigue en el mismo archivo"); }));
        QTRY_VERIFY(!QFileInfo::exists(name("e 3.mkv"))); // deleted behind, whenever the disk likes
        QVERIFY(f.pass());
        QVERIFY(isAt("e 4.mkv"));
        f.recordings.finish();
        QVERIFY(f.ends());
    }

    /// Of a device nothing is known, and a file that is not open cannot grow.
    void whatCannotGrowIsNotTakenForStuck()
    {
        const QTemporaryDir folder;
        HungFile file(folder.filePath(u"late.mkv"_s));
        RecordingFixture f;
        const auto free = qScopeGuard([&] { file.drain(); });
        const auto passes = [&f] { return f.pass(2 * int(RecordingDisk::growthUs / 1'000'000)); };
        f.disk->grows = false;
        f.recordings.start(folder.filePath(u"late.mkv"_s));
        QVERIFY(passes());
        QVERIFY(f.recordings.isOpening() && !f.noticed("no crecía"));
        f.disk->grows = true;
        file.drain();
        QVERIFY(f.desk.runUntil([&] { return f.desk.studio.outputs().recording().ready(); }));
        f.recordings.finish();
        QVERIFY(f.ends());

        f.disk->grows = false;
        f.disk->fileBytes = -1;
        f.recordings.start(f.file(u"device.mkv"_s));
        QVERIFY(f.records(u"device.mkv"_s));
        QVERIFY(passes());
        QVERIFY(f.recordings.isWriting() && !f.noticed("no crecía"));
        f.recordings.finish();
        QVERIFY(f.ends());
    }

    /// It never ran, so that it did not stop, and the operator may try again.
    void aPauseThatCannotEndStays()
    {
        RecordingFixture f;
        const QDir root(f.folder.path());
        QVERIFY(root.mkpath(u"usb"_s));
        f.recordings.start(root.filePath(u"usb/f.webm"_s));
        QVERIFY(f.records(u"usb/f.webm"_s));
        f.recordings.pause();
        f.recordings.resume(); // as soon as the file is whole
        QVERIFY(QFile::rename(root.filePath(u"usb"_s), root.filePath(u"away"_s)));
        QVERIFY(f.desk.runUntil([&] { return f.noticed("La grabación sigue en pausa: "); }));
        QVERIFY(f.recordings.isPaused() && !f.noticed("se detuvo"));
        QVERIFY(QFile::rename(root.filePath(u"away"_s), root.filePath(u"usb"_s)));
        f.recordings.resume();
        QVERIFY(f.records(u"usb/f 2.webm"_s));
    }

    /// None is opened on a disk that may have hung.
    void aPartThatIsDueWaitsForTheDisk()
    {
        RecordingFixture f;
        f.recordings.start(f.file(u"c.webm"_s));
        QVERIFY(f.records(u"c.webm"_s));
        f.recordings.setPartMinutes(1);
        QVERIFY(f.pass(52));
        f.disk->hangs = true;
        QVERIFY(f.takes(16));
        QVERIFY(f.noticed("responde muy tarde"));
        QCOMPARE(f.recordings.path(), f.file(u"c.webm"_s));
        QVERIFY(!QFile::exists(f.file(u"c 2.webm"_s)));
        f.disk->answer();
        QVERIFY(f.desk.runUntil([&] { return f.recordings.path() == f.file(u"c 2.webm"_s); }));
    }

    /// Before the file is finished, and closing before a part's first key frame.
    void whatTheOperatorWantsNextIsNotLost()
    {
        RecordingFixture f;
        f.recordings.start(f.file(u"d.webm"_s));
        QVERIFY(f.records(u"d.webm"_s));
        f.recordings.pause();
        f.recordings.resume();
        QVERIFY(f.records(u"d 2.webm"_s));
        QVERIFY(!f.recordings.isPaused());
        f.recordings.setPartMinutes(1);
        QVERIFY(f.pass());
        QVERIFY(f.desk.runUntil([&] { return f.recordings.path() == f.file(u"d 3.webm"_s); }));
        QVERIFY(!f.desk.studio.shutDown());
        QTRY_COMPARE(f.unfinished(), 0);
        QVERIFY(probe(f.file(u"d 2.webm"_s)).duration > 0);
    }

    void whatAKillLeftIsMendedAtTheNextStart()
    {
        RecordingFixture f;
        f.recordings.start(f.file(u"whole.webm"_s));
        QVERIFY(f.records(u"whole.webm"_s));
        QVERIFY(f.desk.runUntil([&] { return QFileInfo(f.recordings.path()).size() > 20'000; }));
        QVERIFY(QFile::copy(f.recordings.path(), f.file(u"cut.webm"_s))); // as a kill leaves it
        f.recordings.finish();
        QVERIFY(f.ends());
        QCOMPARE(probe(f.file(u"cut.webm"_s)).duration, 0.0);

        const QString folder = f.file(u"journal"_s);
        RecordingJournal running(folder);
        const auto written = running.begin(f.file(u"whole.webm"_s)); // by one that still runs
        const auto kept = [&folder] { return QDir(folder).entryList({ u"*.recording"_s }); };
        QTRY_COMPARE(kept().size(), 1);
        {
            const RecordingJournal other(folder);
            other.begin(f.file(u"whole.webm"_s))->finished(); // nor taken over
        }
        QCOMPARE(kept().size(), 1);
        const QByteArray whole = probe(f.file(u"whole.webm"_s)).video.toUtf8();
        const QString closed = f.file(u"closed.webm"_s); // whose disk took longer than the program
        QVERIFY(QFile::copy(f.file(u"whole.webm"_s), closed));
        const std::filesystem::path closedFile(closed.toStdString());
        const auto closedAt = std::filesystem::last_write_time(closedFile);
        {
            const RecordingJournal dead(folder);
            dead.begin(f.file(u"cut.webm"_s)).reset();
            dead.begin(closed).reset();
        }
        RecordingJournal next(folder);
        next.mendUnfinished();
        std::vector<Message> told;
        QTRY_VERIFY(!told.empty() || !(told = next.poll()).empty());
        QCOMPARE(told.size(), 1U);
        QCOMPARE(told[0].spanish(), u"Grabación interrumpida reparada: cut.webm"_s);
        const Probe mended = probe(f.file(u"cut.webm"_s));
        QVERIFY(mended.duration > 0 && !mended.videoTimes.empty() && !mended.audio.isEmpty());
        QCOMPARE(mended.video.toUtf8(), whole);
        QCOMPARE(decodeErrors(f.file(u"cut.webm"_s)), QByteArray());
        QVERIFY(!QFile::exists(f.file(u"cut.webm.mending"_s)));
        QVERIFY(std::filesystem::last_write_time(closedFile) == closedAt);
        QCOMPARE(kept().size(), 1); // of the one that runs
    }
};

NIMBARA_TEST(RecordingDeskTest)
#include "recording_desk_test.moc"
