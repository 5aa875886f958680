#include "base/log.h"
#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;

class StudioTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void unchangedScenesHandTheSamePictureOn()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.take({ colorLayer(Qt::darkCyan) });
        desk.frame();
        const Pictures before = desk.pictures;
        desk.frame();
        QCOMPARE(desk.pictures.preview.cacheKey(), before.preview.cacheKey());
        QCOMPARE(desk.pictures.streams.cacheKey(), before.streams.cacheKey());
        QCOMPARE(desk.pictures.hall.cacheKey(), before.hall.cacheKey());
    }

    void failedMediaIsToldOnceAndShowsNothingStale()
    {
        StudioFixture desk;
        QTemporaryDir folder;
        QFile junk(folder.filePath(QStringLiteral("junk.mp4")));
        QVERIFY(junk.open(QIODevice::WriteOnly));
        junk.write(QByteArray(4096, 'x'));
        junk.close();
        desk.studio.layers().addMedia(fileLocation(junk.fileName()));
        const auto told
            = [&] { return desk.statuses.filter(QStringLiteral("Fuente sin señal: ")).size(); };
        QVERIFY(desk.runUntil([&] { return told() > 0; }));
        for (int i = 0; i < 20; ++i) {
            desk.frame();
        }
        QCOMPARE(told(), 1);
        QVERIFY(!desk.source(1)->active());
    }

    void mediaSoundIsHeardOnProgramAlone()
    {
        // The sound of the first ends before its picture; the second has none.
        ClipRecipe brief;
        brief.seconds = 4;
        brief.soundSeconds = 1; // the demuxer takes less than a fifth for a preview
        ClipRecipe silent;
        silent.audioCodec.clear();
        for (const ClipRecipe &recipe : { brief, silent }) {
            StudioFixture desk;
            const auto isHeard = [&] { return desk.studio.programAudio().heard() != nullptr; };
            const auto pictures = [&] { return desk.source(1)->frameCount(); };
            desk.studio.layers().addVideoFile(clip(recipe));
            QVERIFY(desk.runUntil([&] { return pictures() > 10; }));
            QVERIFY(!isHeard()); // in PREVIEW alone
            for (const auto &[sound, visible] :
                { std::pair { false, true }, { true, false }, { true, true } }) {
                desk.set(1, LayerField::Sound, sound);
                desk.set(1, LayerField::Visible, visible);
                desk.studio.program().take();
                const bool expected = sound && visible && !recipe.audioCodec.isEmpty();
                QVERIFY(desk.runUntil([&] { return isHeard() || pictures() > 20; }));
                QCOMPARE(isHeard(), expected);
            }
            QVERIFY(desk.runUntil([&] { return !isHeard(); }));
            QVERIFY(desk.source(1)->active()); // the input is heard beside its picture
        }
    }

    /// However often a clock that is too fast costs sound.
    void correctionsOfTheSoundAreLoggedOnceAMinute()
    {
        QFile::remove(logFilePath());
        StudioFixture desk;
        AudioInput &input = desk.studio.audio();
        ProgramAudioDesk audio(desk.clock);
        for (int frame = 0; frame < 150 * 30; ++frame) { // two and a half minutes
            desk.clock.advanceUs(FrameSchedule::periodUs);
            input.fifo().push(std::vector<float>(programBlockValues + 200, 0.1F));
            audio.next(desk.studio.onAir().streams, input);
        }
        QFile log(logFilePath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        static const QRegularExpression line(QStringLiteral("Audio: (\\d+) ms recortados, 0 ms "));
        auto found = line.globalMatch(QString::fromUtf8(log.readAll()));
        qint64 lines = 0;
        for (; found.hasNext(); ++lines) {
            QVERIFY(std::abs(found.next().captured(1).toInt() - 3750) < 100); // 6.25 % of a minute
        }
        QCOMPARE(lines, 2);
    }

    void brokenRecordingNeverStopsThePrograms()
    {
        StudioFixture desk;
        desk.studio.outputs().recording().start(QStringLiteral("/dev/full"),
            desk.studio.stage().streamFrame());
        QVERIFY(desk.runUntil([&] { return !desk.studio.outputs().any(); }));
        QVERIFY2(desk.statuses.last().startsWith(QStringLiteral("Fallo de salida (codigo ")),
            qPrintable(desk.statuses.join(QLatin1Char('|'))));
        const int before = desk.frames;
        desk.frame();
        QCOMPARE(desk.frames, before + 1);
    }

    void diagnosticsTellWhetherTheCameraIsAlive()
    {
        QFile::remove(logFilePath());
        const QDir folder = QFileInfo(logFilePath()).absoluteDir();
        qputenv("VESPERLINE_DIAG", "1");
        StudioFixture desk;
        QVERIFY(desk.runUntil([&] { return desk.studio.sources().camera()->frameCount() > 90; }));
        qunsetenv("VESPERLINE_DIAG");
        QFile log(logFilePath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(log.readAll());
        QCOMPARE(text.count(QStringLiteral("Cámara: primer cuadro recibido. ")), 1);
        static const QRegularExpression line(QStringLiteral(
            "DIAG frames=90 media=\\d+ capas=1 latest=1920x1080 centro=0,255,0 nieve=[1-9]\\d* "
            "preparado.centro=0,255,0 active=1\n"));
        QCOMPARE(text.count(line), 1);
        QCOMPARE(QImage(folder.filePath(QStringLiteral("camara-latest.png"))).size(),
            QSize(1920, 1080));
        QVERIFY(QFile::exists(folder.filePath(QStringLiteral("preparacion.png"))));
    }
};

NIMBARA_TEST(StudioTest)
#include "studio_test.moc"
