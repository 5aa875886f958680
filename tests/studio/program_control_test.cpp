#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class ProgramControlTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void startsBlackWithBarsInPreview()
    {
        StudioFixture desk;
        desk.studio.tick();
        QCOMPARE(desk.frames, 1);
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
        QCOMPARE(centre(desk.pictures.hall), QColor(Qt::black));
        QVERIFY(desk.runUntil(
            [&] { return isNear(desk.pictures.preview.pixelColor(100, 100), Qt::white); }));
    }

    void takeDuringAFadeStartsFromThePictureOnAir()
    {
        StudioFixture desk;
        desk.take({ colorLayer(QColor(200, 0, 0)) });
        desk.frame(200'000); // half of black → red
        desk.take({ colorLayer(QColor(0, 200, 0)) });
        desk.studio.tick();
        desk.frame(40'000); // a tenth of red → green: the old overlay is gone
        QVERIFY2(isNear(centre(desk.pictures.streams), QColor(180, 20, 0)),
            qPrintable(centre(desk.pictures.streams).name()));
    }

    /// Its first picture needs no more scaling, on whichever program.
    void aClipGoesOnAirInTheSizeOfItsBox()
    {
        StudioFixture desk;
        desk.studio.changeProfile(StreamProfile::Portrait);
        for (const auto &[set, size] :
            { std::pair { 0, FrameSize { 540, 304 } }, std::pair { 1, FrameSize { 960, 540 } } }) {
            desk.studio.program().setEditSet(set);
            desk.setLayers({});
            desk.studio.layers().addVideoFile(clip({ .width = 320, .height = 180 }));
            desk.set(0, LayerField::Box, Box { 0, 0, 0.5, 0.5 });
            QVERIFY(desk.takePrepared());
            QVERIFY(desk.pollUntil([&] { return desk.source(0)->frame()->size() == size; }));
        }
    }

    void offAirFadesToBlackAndTheTitleGoes()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.studio.document().setTitle(u"Culto"_s);
        desk.take({ colorLayer(Qt::white) });
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::white));
        QVERIFY(!isNear(desk.pictures.streams.pixelColor(90, 850), Qt::white)); // the title band
        desk.studio.stage().program.setFadeEnabled(true);
        desk.studio.program().offAir();
        desk.frame(200'000);
        QVERIFY(isNear(centre(desk.pictures.streams), QColor(127, 127, 127)));
        desk.frame(200'000);
        QCOMPARE(desk.pictures.streams.pixelColor(90, 850), QColor(Qt::black));
        QCOMPARE(desk.statuses.last(), u"Programa en negro (fuera del aire)."_s);
    }

    void previewEditsNeverReachTheProgram()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.take({ colorLayer(Qt::red) });
        desk.set(0, LayerField::Fill, QColor(Qt::green));
        desk.set(0, LayerField::Box, Box { 0.6, 0, 1, 1 });
        addLayer(desk.studio.document(), colorLayer(Qt::blue));
        desk.studio.document().setTitle(u"typed after TAKE"_s);
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
        QCOMPARE(desk.pictures.streams.pixelColor(90, 850), QColor(Qt::red));
        desk.setLayers({});
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
    }

    void setsActOnTheirOwnProgramAlone()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.take({ colorLayer(Qt::red) });
        desk.studio.program().setEditSet(1);
        QCOMPARE(desk.statuses.last(), u"Editando las escenas de las pantallas de sala."_s);
        const auto show = [&](const QColor &streams, const QColor &hall) {
            desk.frame();
            QCOMPARE(centre(desk.pictures.streams), streams);
            QCOMPARE(centre(desk.pictures.hall), hall);
        };
        desk.take({ colorLayer(Qt::blue) });
        QCOMPARE(desk.statuses.last(), u"Escena enviada a las pantallas de sala."_s);
        show(Qt::red, Qt::blue);
        desk.studio.program().offAir();
        show(Qt::red, Qt::black);
        desk.take({ colorLayer(Qt::blue) });
        desk.studio.program().setEditSet(0);
        desk.studio.program().offAir();
        show(Qt::black, Qt::blue);
    }

    void everyTakeRestartsAFile()
    {
        StudioFixture desk;
        desk.studio.layers().addVideoFile(clip({}));
        std::weak_ptr<Media> first = desk.source(1);
        QVERIFY(desk.takePrepared());
        QVERIFY(desk.source(1) != first.lock());
        QCOMPARE(desk.studio.onAir().streams.layers[1].source, desk.source(1));
        const auto shown = [&] {
            const FramePtr frame = desk.source(1)->frame();
            return frame ? readClip(*frame).number : -1;
        };
        QVERIFY(desk.runUntil([&] { return shown() > 20; }));
        QVERIFY(desk.takePrepared());
        QVERIFY(desk.runUntil([&] { return shown() >= 0 && shown() < 20; }));
        QVERIFY(desk.runUntil([&] { return first.expired(); })); // destroyed in the background
    }

    /// No black box before a file's first picture, no dead layer, and what was asked last counts.
    void aTakeWaitsForThePicturesOfItsFiles()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.studio.document().setTitle(u"Antes"_s);
        const Layer red = colorLayer(Qt::red);
        desk.take({ red });
        const auto onAir = [&] { return desk.studio.onAir().streams.scene; };
        const ScenePtr before = onAir();
        Layer video = videoLayer(QString::fromLatin1(QUrl::fromLocalFile(clip({})).toEncoded()));
        const auto filesAreShown = [&] {
            const auto &live = desk.studio.onAir().streams.layers;
            return std::ranges::all_of(live, [](const LiveLayer &layer) {
                return !layer.source || layer.source->frame() != nullptr;
            });
        };

        desk.take({ red, video });
        QCOMPARE(onAir(), before); // runs on
        desk.studio.document().setTitle(u"Después"_s);
        desk.set(1, LayerField::Visible, false);
        QVERIFY(desk.pollUntil([&] { return onAir() != before; }));
        QVERIFY(filesAreShown());
        QVERIFY(onAir()->layers[1].visible);
        QCOMPARE(desk.studio.stage().program.title(), u"Antes"_s);

        QTemporaryDir folder;
        const QString rubbish = folder.filePath(u"rubbish.mp4"_s);
        QVERIFY(QFile(rubbish).open(QIODevice::WriteOnly));
        video.uri = QUrl::fromLocalFile(rubbish).toString();
        video.source = SourceId::make();
        video.name = u"Himno"_s;
        const ScenePtr shown = onAir();
        desk.statuses.clear();
        desk.take({ red, video });
        QVERIFY(desk.pollUntil([&] {
            return desk.told("La escena no salió al aire; “Himno” no se puede reproducir. ");
        }));
        QCOMPARE(onAir(), shown);

        video.visible = false; // what nobody sees keeps nothing from going on air
        desk.take({ red, videoLayer(shown->layers[1].uri), video });
        QVERIFY(desk.pollUntil([&] { return onAir() != shown; }));

        desk.take({ red, videoLayer(shown->layers[1].uri) });
        desk.studio.program().offAir();
        for (int i = 0; i < 60; ++i) {
            desk.frame();
            QTest::qWait(1);
            QCOMPARE(onAir(), nullptr);
        }
    }

    void failingTakeLeavesBothPrograms()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.take({ colorLayer(Qt::red) });
        Layer broken = newLayer(LayerKind::Video);
        broken.uri = u"file://[broken"_s;
        desk.take({ colorLayer(Qt::green), broken });
        QCOMPARE(desk.statuses.last(), u"URL multimedia no compatible"_s);
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
    }
};

NIMBARA_TEST(ProgramControlTest)
#include "program_control_test.moc"
