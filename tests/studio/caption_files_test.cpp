#include "studio/services/caption_files.h"
#include "studio/studio_fixture.h"
#include "support/decoded_sound.h"
#include "support/full_disk.h"
#include "support/test_registry.h"
#include "translation/pipeline/voice.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <future>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// When the picture of a recording is no longer black, in seconds.
double firstLight(const QString &path)
{
    QProcess ffmpeg;
    ffmpeg.start(u"ffmpeg"_s,
        { u"-i"_s, path, u"-vf"_s, u"blackdetect=d=0.05"_s, u"-an"_s, u"-f"_s, u"null"_s, u"-"_s });
    ffmpeg.waitForFinished();
    static const QRegularExpression end(u"black_end:([0-9.]+)"_s);
    return end.match(QString::fromUtf8(ffmpeg.readAllStandardError())).captured(1).toDouble();
}

/// When a sound file is no longer silent, in seconds.
double firstSound(const QString &path)
{
    const std::vector<std::int16_t> values = decodedSound(path);
    const auto first = std::find_if(values.begin(), values.end(), [](std::int16_t value) {
        return std::abs(value) > 1000;
    });
    return static_cast<double>(first - values.begin()) / audioRate;
}

/// A translation from Spanish into English, without a recording.
struct Service {
    QTemporaryDir folder;
    ManualClock clock;
    CaptionFiles files { clock, folder.filePath(u"none/yet"_s) };

    Service() { files.begin({ u"es"_s, u"Spanish"_s }, { u"en"_s, u"English"_s }); }
    void wait(std::int64_t ms) { clock.advanceUs(ms * 1000); }
    /// Writes until the file is as long as that.
    bool writes(const char *end, const QString &last)
    {
        return QTest::qWaitFor([&] { return files.poll(), text(end).endsWith(last); }, 60'000);
    }
    /// Of all files with this end; there is one.
    [[nodiscard]] QString all(const char *end) const
    {
        const QDir dir(folder.filePath(u"none/yet"_s));
        const QStringList found = dir.entryList({ u"*."_s + QLatin1String(end) });
        return dir.filePath(found.value(0));
    }
    [[nodiscard]] QString text(const char *end) const { return contents(all(end)); }
};

} // namespace

class CaptionFilesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void writesBothLanguages()
    {
        Service service;
        service.wait(1000);
        service.files.addPhrase(u"Gracia."_s, u"Grace."_s, true);
        service.wait(2000);
        service.files.addPhrase(u"Paz."_s, u"Peace."_s, true);
        QVERIFY(service.files.finish(10s));
        QCOMPARE(service.text("es.srt"),
            u"1\n00:00:01,000 --> 00:00:03,000\nGracia.\n\n"
            "2\n00:00:03,000 --> 00:00:03,001\nPaz.\n\n"_s);
        QCOMPARE(service.text("en.vtt"),
            u"WEBVTT\n\n00:00:01.000 --> 00:00:03.000\nGrace.\n\n"
            "00:00:03.000 --> 00:00:03.001\nPeace.\n\n"_s);
        QCOMPARE(service.text("es.txt") + service.text("en.txt"),
            u"Gracia.\nPaz.\nGrace.\nPeace.\n"_s);
        QVERIFY(service.text("html").contains(u"<td>0:00:03</td><td>Paz.</td><td>Peace.</td>"_s));
    }

    /// Of the second language a set of its own, also where its code is the original's.
    void writesASetForEachLanguage()
    {
        Service service;
        service.files.begin({ u"es"_s, u"Spanish"_s },
            { u"en"_s, u"English"_s },
            { u"es"_s, u"Spanish"_s });
        service.files.addPhrase(u"Gracia."_s, u"Grace."_s, true);
        service.files.showBlock(u"La gracia"_s, Target::Second);
        service.wait(1000);
        service.files.end(Target::First);
        service.wait(1000);
        service.files.addPhrase(u"Gracia."_s, u"La gracia"_s, false, Target::Second);
        service.files.end(Target::Second);
        QVERIFY(service.files.finish(10s));
        QCOMPARE(service.text("es.srt"), u"1\n00:00:00,000 --> 00:00:01,000\nGracia.\n\n"_s);
        QCOMPARE(service.text("en.srt"), u"1\n00:00:00,000 --> 00:00:01,000\nGrace.\n\n"_s);
        QCOMPARE(service.text("es-2.srt"), u"1\n00:00:00,000 --> 00:00:02,000\nLa gracia\n\n"_s);
        QCOMPARE(service.text("es.txt") + service.text("es-2.txt"), u"Gracia.\nLa gracia\n"_s);
        QVERIFY(service.text("es-2.html").contains(u"<td>Gracia.</td><td>La gracia</td>"_s));
        const QString page = contents(service.all("es-2.html").remove(u".es-2"_s));
        QVERIFY(page.contains(u"<td>Gracia.</td><td>Grace.</td>"_s) && !page.contains(u"gracia"_s));
    }

    /// What is on the screens when the program dies is all that is missing, and not for long.
    void losesOneCaptionAtMost()
    {
        Service service;
        service.files.addPhrase(u"uno"_s, u"one"_s, false);
        service.files.showBlock(u"one"_s);
        service.wait(1500);
        service.files.showBlock(u"two,\nthree"_s);
        QVERIFY(service.writes("en.srt", u"00:00:01,500\none\n\n"_s));
        service.wait(CaptionFiles::longestMs);
        QVERIFY(service.writes("en.srt", u"00:00:09,500\ntwo,\nthree\n\n"_s));
        service.wait(60'000); // silence
        QVERIFY(service.files.finish(10s));
        QCOMPARE(service.text("en.srt").count(u"-->"_s), 2);
    }

    /// On the clock of its pictures, and in files of its own.
    void followsTheRecording()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"Culto.webm"_s);
        QFile other(folder.filePath(u"Culto.en.srt"_s));
        QVERIFY(other.open(QIODevice::WriteOnly) && other.write("kept") == 4);
        other.close();
        StudioFixture desk;
        const auto &recording = desk.studio.outputs().recording();
        desk.studio.stage().program.setFadeEnabled(false);
        Q_EMIT desk.studio.translation().began();
        desk.frame();
        desk.studio.recordings().start(path);
        const auto pictures = [&recording] {
            const auto figures = recording.figures();
            return figures ? figures->pictures : 0;
        };
        const auto run = [&](int frames) { // no faster than they are encoded
            for (; frames > 0; --frames) {
                const auto before = pictures();
                desk.frame();
                // None comes of a frame that the encoder leaves out on a busy machine.
                static_cast<void>(QTest::qWaitFor([&] { return pictures() > before; }, 1000));
            }
        };
        QVERIFY(desk.runUntil([&] { return pictures() > 0; }));
        run(30);
        Layer light = newLayer(LayerKind::Color);
        light.fill = Qt::white;
        desk.take({ light });
        const QByteArray tone = QByteArray("\x00\x20", 2).repeated(8) // 1500 Hz
            + QByteArray("\x00\xe0", 2).repeated(8);
        queueVoice(desk.studio.programAudio().voice(), tone.repeated(375)); // 250 ms
        Q_EMIT desk.studio.translation().captionShown({ u"Light"_s, u"Luz"_s, {} });
        run(20);
        desk.studio.recordings().finish();
        QVERIFY(desk.runUntil([&] { return !recording.exists(); }));
        desk.studio.shutDown();
        const QString cue = contents(folder.filePath(u"Culto.es.srt"_s));
        QVERIFY2(cue.endsWith(u"\nLuz\n\n"_s), qPrintable(cue));
        const double from = QStringView(cue)
                                .mid(cue.indexOf(u"00:00:"_s) + 6, 6)
                                .toString()
                                .replace(u',', u'.')
                                .toDouble();
        const double seen = firstLight(path);
        QVERIFY2(seen > 0.5 && std::abs(from - seen) < 0.1,
            qPrintable(u"%1 against %2"_s.arg(from).arg(seen)));
        const double spoken = firstSound(folder.filePath(u"Culto.en.opus"_s));
        QVERIFY2(std::abs(spoken - seen) < 0.1,
            qPrintable(u"%1 against %2"_s.arg(spoken).arg(seen)));
        QCOMPARE(contents(other.fileName()), u"kept"_s);
        QVERIFY(contents(folder.filePath(u"Culto.en 2.srt"_s)).contains(u"Light"_s));
    }

    /// In easy reading most of what was said may still wait when the operator, or the end of the
    /// run, takes it away.
    void keepsWhatIsTakenAwayUnread()
    {
        for (const bool cleared : { true, false }) {
            Service service;
            CaptionScreen screen(service.clock);
            connect(&screen, &CaptionScreen::captionShown, this, [&](const Caption &caption) {
                service.files.addPhrase(caption.original, caption.text, false);
            });
            connect(&screen, &CaptionScreen::blockShown, this, [&](const QString &block) {
                block.isEmpty() ? service.files.end(Target::First) : service.files.showBlock(block);
            });
            screen.setSeparator(CaptionSeparator::Reading);
            const QString words = u"And the last word of the sermon is the one to take home."_s;
            screen.add({ u"Grace and peace. "_s.repeated(30), u"Tema. "_s.repeated(30), {} });
            screen.add({ words, u"La última palabra."_s, {} });
            screen.measureShown(true);
            cleared ? screen.clear() : screen.setSeparator(CaptionSeparator::Line);
            QVERIFY(!screen.hasPhrases() || !cleared);
            QVERIFY(service.files.finish(10s));
            const QString shown = service.text("en.srt").simplified();
            QVERIFY2(shown.endsWith(u"take home."_s), qPrintable(shown));
            QCOMPARE(service.text("es.txt").count(u'\n'), 2);
        }
    }

    /// What a full disk refuses is written when there is room again, in its order.
    void nothingIsLostWhileADiskIsFull()
    {
        QTemporaryDir folder;
        const QString place = folder.filePath(u"wall"_s);
        QFile wall(place);
        QVERIFY(wall.open(QIODevice::WriteOnly));
        ManualClock clock;
        CaptionFiles files(clock, place);
        files.begin({ u"es"_s, u"Spanish"_s }, { u"en"_s, u"English"_s });
        QSignalSpy told(&files, &CaptionFiles::failed);
        for (const char *word : { "one", "two" }) {
            files.addPhrase(QLatin1String(word), QLatin1String(word), true);
            QVERIFY(!files.finish(10s));
        }
        QCOMPARE(told.size(), 1);
        QVERIFY(wall.remove());
        const auto text = [&place] {
            const QDir dir(place);
            return contents(dir.filePath(dir.entryList({ u"*.en.txt"_s }).value(0)));
        };
        clock.advanceUs(60'000'000); // nobody says anything
        QVERIFY(QTest::qWaitFor([&] { return files.poll(), text() == u"one\ntwo\n"_s; }));
    }

    /// No half of a caption stays, nor a file without its head, and what comes later is there.
    void aFullDiskLeavesNoHalves()
    {
        Service service;
        QSignalSpy told(&service.files, &CaptionFiles::failed);
        const auto say = [&service](const char *word) {
            service.files.addPhrase(QLatin1String(word), QLatin1String(word), true);
            service.wait(1000);
            service.files.end(Target::First);
        };
        {
            const FullDisk disk(30); // a plain text goes in, and the beginning of a cue
            say("one");
            QVERIFY(!service.files.finish(10s));
            QCOMPARE(service.text("en.txt"), u"one\n"_s);
            QVERIFY(!QFileInfo(service.all("en.vtt")).isFile());
        }
        say("two");
        QVERIFY(service.files.finish(10s));
        const auto cue = u"00:00:0%1.000 --> 00:00:0%2.000\n%3\n\n"_s;
        const QString both = u"WEBVTT\n\n"_s + cue.arg(0).arg(1).arg(u"one"_s);
        QCOMPARE(service.text("en.vtt"), both + cue.arg(1).arg(2).arg(u"two"_s));
        {
            const FullDisk disk(static_cast<rlim_t>(service.text("en.vtt").size()) + 10);
            say("three");
            QVERIFY(!service.files.finish(10s));
            QVERIFY(service.text("en.vtt").endsWith(u"two\n\n"_s));
        }
        QVERIFY(service.files.finish(10s));
        QVERIFY(service.text("en.vtt").endsWith(cue.arg(2).arg(3).arg(u"three"_s)));
        QCOMPARE(told.size(), 1);
    }

    /// Until a caption was on its disk those behind it were in memory alone: a crash lost them all.
    void aSlowDiskHoldsNoCaptionUp()
    {
        QTemporaryDir folder;
        ManualClock clock;
        std::promise<void> arrives;
        CaptionFiles files(clock,
            folder.path(),
            [arrived = arrives.get_future().share()](const QString &) { arrived.wait(); });
        files.begin({ u"es"_s, u"Spanish"_s }, { u"en"_s, u"English"_s });
        const auto text = [&folder] {
            const QDir dir(folder.path());
            return contents(dir.filePath(dir.entryList({ u"*.en.txt"_s }).value(0)));
        };
        QString expected;
        for (const char *word : { "one", "two", "three" }) {
            files.addPhrase(QLatin1String(word), QLatin1String(word), true);
            expected += QLatin1String(word) + u'\n';
            QVERIFY(QTest::qWaitFor([&] { return files.poll(), text() == expected; }));
        }
        QVERIFY(!files.finish(100ms));
        arrives.set_value();
        QVERIFY(files.finish(10s));
    }

    void tellsOfADiskThatTakesNothing()
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(u"wall"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        ManualClock clock;
        CaptionFiles files(clock, file.fileName()); // no folder can be there
        QStringList told;
        connect(&files, &CaptionFiles::failed, this, [&](const Message &reason) {
            told.append(reason.spanish());
        });
        files.begin({ u"es"_s, u"Spanish"_s }, { u"en"_s, u"English"_s });
        for (int i = 0; i < 3; ++i) {
            files.addPhrase(u"uno"_s, u"one"_s, true);
            QVERIFY(!files.finish(10s));
        }
        QCOMPARE(told.size(), 1);
        QVERIFY(told.first().contains(file.fileName()));
    }
};

NIMBARA_TEST(CaptionFilesTest)
#include "caption_files_test.moc"
