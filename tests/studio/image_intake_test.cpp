#include "studio/studio_fixture.h"
#include "support/no_threads.h"
#include "support/test_registry.h"

#include <QImage>
#include <QSignalSpy>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// Pictures that are decoded while the operator goes on.
class ImageIntakeTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_folder;

    QString picture(const char *name, const QColor &color)
    {
        const QString path = m_folder.filePath(QLatin1String(name));
        QImage image(80, 60, QImage::Format_RGB32);
        image.fill(color);
        return image.save(path) ? path : QString();
    }
    static Layer imageLayerOf(const QString &path)
    {
        Layer image = newLayer(LayerKind::Image);
        image.path = path;
        return image;
    }

private Q_SLOTS:
    void reachesTheSceneThatAskedForIt()
    {
        StudioFixture desk;
        Document &document = desk.studio.document();
        const ScenePtr asked = document.currentScene();
        desk.studio.images().add(asked->id, picture("a.png", Qt::red));
        document.apply(DuplicateScene { asked->id }); // of the same name, and current now
        document.apply(RenameScene { asked->id, u"Otro nombre"_s });
        desk.studio.program().setEditSet(1);
        const auto first = [&] { return document.scenes().of(SceneSet::Streams)[0]; };
        QVERIFY(desk.runUntil([&] { return first()->layers.size() == 2; }));
        QCOMPARE(first()->layers[1].name, u"a.png"_s);
        QVERIFY(desk.studio.sources().shelf().find(first()->layers[1]));
        QCOMPARE(document.scenes().of(SceneSet::Streams)[1]->layers.size(), 1U);
    }

    void changesTheLayerWhereverItIsThenAndTheLastChoiceCounts()
    {
        StudioFixture desk;
        desk.setLayers({ imageLayerOf(u"vieja.png"_s), colorLayer(Qt::red) });
        const LayerId asked = desk.layer(0).id;
        desk.studio.images().change(asked, picture("grande.png", Qt::red));
        desk.studio.images().change(asked, picture("a.png", Qt::red));
        desk.studio.document().apply(MoveLayer { asked, 1 });
        QVERIFY(desk.runUntil([&] { return !desk.studio.images().isDecoding(); }));
        QCOMPARE(desk.layer(1).name, u"a.png"_s);
        QCOMPARE(desk.layer(0).kind, LayerKind::Color);
    }

    void nothingHappensWhenThePlaceIsGone()
    {
        for (const bool layerDeleted : { true, false }) {
            StudioFixture desk;
            desk.setLayers({ imageLayerOf(u"vieja.png"_s) });
            const LayerId asked = desk.layer(0).id;
            if (layerDeleted) {
                desk.studio.images().change(asked, picture("a.png", Qt::red));
                desk.setLayers({ colorLayer(Qt::red) });
            } else {
                desk.studio.images().add(desk.scene().id, picture("a.png", Qt::red));
                desk.studio.document().open(newProject());
            }
            const SceneSets before = desk.studio.document().scenes();
            QVERIFY(desk.runUntil([&] { return !desk.studio.images().isDecoding(); }));
            QVERIFY(desk.studio.document().scenes() == before);
        }
    }

    /// A program holds what it shows; undo finds the earlier picture again, decoded anew if need
    /// be.
    void anotherPictureDoesNotReachTheProgramAndCanBeUndone()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.studio.images().add(desk.scene().id, picture("roja.png", Qt::red));
        QVERIFY(desk.runUntil([&] { return desk.scene().layers.size() == 2; }));
        desk.set(1, LayerField::Box, fullFrame);
        desk.set(1, LayerField::Cover, true);
        desk.studio.program().take();
        desk.studio.images().change(desk.layer(1).id, picture("azul.png", Qt::blue));
        const auto prepared = [&] {
            desk.frame();
            return centre(desk.pictures.preview);
        };
        QVERIFY(desk.runUntil([&] { return prepared() == QColor(Qt::blue); }));
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
        desk.clock.advanceUs(2 * PictureShelf::patienceUs); // the red one leaves the shelf
        desk.frame();
        desk.frame();
        desk.studio.document().undo();
        QVERIFY(!desk.studio.sources().shelf().find(desk.layer(1)));
        QVERIFY(desk.runUntil([&] { return prepared() == QColor(Qt::red); }));
    }

    /// A system without a thread is asked again after a pause, not with each tick, and told of
    /// once.
    void aPictureWaitsForAThread()
    {
        ManualClock clock;
        PictureShelf shelf(clock);
        SceneSets scenes;
        const Layer image = imageLayerOf(picture("thread.png", Qt::red));
        scenes.of(SceneSet::Streams) = { makeScene(u"A"_s, { image, imageLayerOf(u"no"_s) }) };
        int told = 0;
        const auto poll = [&] {
            shelf.poll();
            told += shelf.takeNoThread() ? 1 : 0;
        };
        {
            const NoThreads none;
            shelf.follow(scenes);
            for (int tick = 0; tick < 90; ++tick) {
                poll();
                clock.advanceUs(FrameSchedule::periodUs);
            }
        }
        QCOMPARE(told, 1);
        QTRY_VERIFY((clock.advanceUs(FrameSchedule::periodUs), poll(), shelf.find(image)));
        QCOMPARE(told, 1);
    }
};

NIMBARA_TEST(ImageIntakeTest)
#include "image_intake_test.moc"
