#include "app/log.h"
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
    // A short stall is made up frame by frame, a long one is skipped, never 30 at once.
    void stalls_data()
    {
        QTest::addColumn<int>("stallMs");
        QTest::addColumn<int>("framesAtOnce");
        QTest::newRow("200 ms") << 200 << 6;
        QTest::newRow("just made up") << 283 << 8;
        QTest::newRow("1 s") << 1000 << 1;
        QTest::newRow("10 s") << 10'000 << 1;
    }
    void stalls()
    {
        QFETCH(int, stallMs);
        QFETCH(int, framesAtOnce);
        StudioFixture desk;
        desk.studio.tick();
        for (int i = 0; i < 3; ++i) {
            desk.frame();
        }
        const int before = desk.frames;
        desk.clock.advanceUs(stallMs * 1000LL);
        for (int i = 0; i < 50; ++i) {
            desk.studio.tick();
        }
        QCOMPARE(desk.frames - before, framesAtOnce);
        desk.clock.advanceUs(FrameSchedule::periodUs);
        desk.studio.tick();
        QCOMPARE(desk.frames - before, framesAtOnce + 1);
    }

    void unchangedScenesHandTheSamePictureOn()
    {
        StudioFixture desk;
        desk.setLayers({ colorLayer(Qt::darkCyan) });
        desk.studio.stage().program.setFadeEnabled(false);
        desk.studio.program().take();
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
        QVERIFY(!desk.studio.stage().scenes.currentScene().layers.back().source->active());
    }

    void mediaSoundIsHeardOnProgramAlone()
    {
        StudioFixture desk;
        const auto place = static_cast<std::size_t>(desk.studio.layers().addVideoFile(clip({})));
        Stage &stage = desk.studio.stage();
        QCOMPARE(heardMedia(stage.program.streams()), nullptr);
        desk.studio.program().take();
        QCOMPARE(heardMedia(stage.program.streams()),
            stage.program.streams().layers[place].source.get());
        stage.scenes.currentScene().layers[place].sound = false;
        desk.studio.program().take();
        QCOMPARE(heardMedia(stage.program.streams()), nullptr);
        stage.scenes.currentScene().layers[place].sound = true;
        stage.scenes.currentScene().layers[place].visible = false;
        desk.studio.program().take();
        QCOMPARE(heardMedia(stage.program.streams()), nullptr);
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
