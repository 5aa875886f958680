#include "compositor/scene/load_image.h"
#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/test_registry.h"

#include <QImage>
#include <QTemporaryDir>

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

    void takeDuringAFadeStartsFromWhatIsSeen()
    {
        StudioFixture desk;
        desk.take({ colorLayer(QColor(200, 0, 0)) });
        desk.frame(200'000); // half of black → red
        desk.take({ colorLayer(QColor(0, 200, 0)) });
        desk.studio.tick();
        desk.frame(40'000); // a tenth of dark red → green
        QVERIFY2(isNear(centre(desk.pictures.streams), QColor(90, 20, 0)),
            qPrintable(centre(desk.pictures.streams).name()));
    }

    void aSceneGoesOnAirInItsOwnWay()
    {
        StudioFixture desk;
        Document &document = desk.studio.document();
        document.setTransition({ TransitionKind::SlideLeft, 1000 });
        desk.take({ colorLayer(Qt::red) });
        document.setTransition({ TransitionKind::Cut }); // what is on its way goes on
        desk.frame(500'000);
        QCOMPARE(desk.pictures.streams.pixelColor(940, 9), QColor(Qt::black));
        QCOMPARE(desk.pictures.streams.pixelColor(980, 9), QColor(Qt::red));
        desk.frame(500'000);

        document.apply(SetSceneTransition { desk.scene().id, Transition {} });
        desk.take({ colorLayer(Qt::blue) });
        desk.frame(200'000);
        QVERIFY(isNear(centre(desk.pictures.streams), QColor(127, 0, 128)));
        desk.studio.program().offAir(); // as the project
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
        desk.studio.stage().program.setFadeEnabled(false); // all of them
        desk.take({ colorLayer(Qt::green) });
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::green));
    }

    void theSceneBeforeMovesOnUntilItIsOutOfSight()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.setLayers({});
        desk.studio.layers().addVideoFile(clip({ .seconds = 5 }));
        QVERIFY(desk.takePrepared());
        desk.studio.stage().program.setFadeEnabled(true);
        std::weak_ptr<Media> before = desk.source(0);
        const auto number = [&] { return readClip(*before.lock()->frame()).number; };
        desk.studio.document().setTransition({ TransitionKind::WipeUp, 3000 });
        desk.take({ colorLayer(Qt::blue) });
        const int first = number();
        QVERIFY(desk.pollUntil([&] { return number() > first + 3; }));
        desk.frame();
        const QImage shown = desk.pictures.streams; // the edge is still below the number
        QVERIFY(readClip(*toFrame(shown)).number > first + 3);
        QVERIFY(desk.runUntil([&] { return centre(desk.pictures.streams) == QColor(Qt::blue); }));
        desk.frame(3'000'000);
        desk.frame();
        QVERIFY(desk.studio.onAir().left[0].layers.empty());
    }

    void aClipPlaysOverTheCutOrIsLeftOut()
    {
        StudioFixture desk;
        Document &document = desk.studio.document();
        const auto take = [&](const QColor &color, const QString &path) {
            document.setTransitionClip({ path, 400 });
            desk.setLayers({ colorLayer(color) });
            return desk.takePrepared();
        };
        const auto shows = [&](const QColor &color) {
            return desk.runUntil([&] { return isNear(centre(desk.pictures.streams), color, 8); });
        };
        document.setTransition({ TransitionKind::Clip });
        const QString halfGrey = clip({ .seconds = 5,
            .videoCodec = u"libvpx"_s,
            .audioCodec = {},
            .container = u"webm"_s,
            .pixelFormat = u"yuva420p"_s,
            .extra = { u"-vf"_s,
                u"format=rgba,colorchannelmixer=aa=0.5,format=yuva420p"_s,
                u"-auto-alt-ref"_s,
                u"0"_s } });
        QVERIFY(take(Qt::red, halfGrey));
        QVERIFY(shows(QColor(64, 64, 64)));
        desk.frame(400'000); // the cut is due
        QVERIFY(isNear(centre(desk.pictures.streams), QColor(191, 64, 64), 8));
        desk.frame(ProgramTransition::longestClipUs);
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));

        QVERIFY(take(Qt::blue, u"/nowhere/clip.webm"_s));
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::blue));
        QVERIFY(desk.told("El clip de la transición no se puede reproducir"));
        desk.statuses.clear();
        desk.studio.stage().program.setFadeEnabled(false); // nothing is opened for it
        QVERIFY(take(Qt::green, u"/nowhere/clip.webm"_s));
        QVERIFY(!desk.told("El clip"));
    }

    void theSoundOfAClipIsHeardAsLongAsItPlays()
    {
        for (const bool sounds : { true, false }) {
            StudioFixture desk;
            Document &document = desk.studio.document();
            document.setTransition({ TransitionKind::Clip });
            document.setTransitionClip(
                { clip({ .audioCodec = sounds ? u"aac"_s : QString() }), 400 });
            desk.setLayers({ colorLayer(Qt::red) });
            QVERIFY(desk.takePrepared());
            ProgramAudioDesk audio(desk.clock); // the studio's own makes no block: its clock stands
            const auto playing = [&] { return desk.studio.program().clip(SceneSet::Streams); };
            bool isHeard = false;
            const auto isOver = [&] {
                desk.studio.program().poll();
                const auto block
                    = audio.next(desk.studio.onAir().streams, playing(), desk.studio.audio());
                isHeard = isHeard || *std::max_element(block.begin(), block.end()) > 0.1F;
                return !playing()->active();
            };
            QVERIFY(QTest::qWaitFor(isOver, 60'000));
            QCOMPARE(isHeard, sounds);
            desk.frame(3'000'000);
            QVERIFY(!playing());
        }
    }

    void theHallPassesWhereTheProjectWantsIt()
    {
        StudioFixture desk;
        desk.studio.program().setEditSet(1);
        desk.take({ colorLayer(Qt::red) });
        desk.frame();
        QCOMPARE(centre(desk.pictures.hall), QColor(Qt::red));
        desk.studio.document().setHallTransitions(true);
        desk.take({ colorLayer(Qt::blue) });
        desk.frame(200'000);
        QVERIFY(isNear(centre(desk.pictures.hall), QColor(127, 0, 128)));
        desk.frame(200'000);
        desk.studio.program().offAir();
        desk.frame(200'000);
        QVERIFY(isNear(centre(desk.pictures.hall), QColor(0, 0, 127)));
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::black));
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

    /// No hole where a picture is still being decoded. One that comes after the wait is filled in.
    void aTakeWaitsForItsImages()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"a.png"_s);
        QImage blue(64, 36, QImage::Format_RGB32);
        blue.fill(Qt::blue);
        QVERIFY(blue.save(file));
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        const auto &live = desk.studio.onAir().streams.layers;
        Layer image = newLayer(LayerKind::Image);
        std::tie(image.x, image.y, image.w, image.h) = std::tuple(0.0, 0.0, 1.0, 1.0);
        image.path = file;
        desk.take({ colorLayer(Qt::red), image });
        QVERIFY(desk.pollUntil([&] { return !live.empty(); }));
        QVERIFY(live[1].still);

        image.path = folder.filePath(u"late.png"_s); // not there yet
        desk.take({ image });
        QVERIFY(desk.pollUntil([&] { return live.size() == 1; }));
        QVERIFY(!live[0].still);
        desk.studio.sources().shelf().put(image.path, loadImage(file));
        desk.frame();
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::blue));
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
