#include "studio/studio_fixture.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Two stream scenes, red and blue; the blue one is in PREVIEW.
struct TileFixture : StudioFixture {
    std::vector<std::pair<SceneId, QImage>> made;

    TileFixture()
    {
        setLayers({ colorLayer(Qt::red) });
        studio.document().apply(DuplicateScene { scene().id });
        set(0, LayerField::Fill, QColor(Qt::blue));
        auto *tiles = &studio.scenePictures();
        QObject::connect(tiles,
            &ScenePictures::made,
            &studio,
            [this](SceneId id, const QImage &picture) { made.emplace_back(id, picture); });
        tiles->setShown(true);
    }
    /// A frame in time, and two runs of the frame clock before the next.
    void slot()
    {
        frame();
        studio.tick();
        studio.tick();
    }
    void slots(int count)
    {
        for (int i = 0; i < count; ++i) {
            slot();
        }
    }
};

} // namespace

class ScenePicturesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachSceneHasOneAndOnlyEditsMakeAnother()
    {
        TileFixture desk;
        desk.slot();
        QCOMPARE(desk.made.size(), 1U); // one in a slot
        desk.slots(70); // two seconds
        QCOMPARE(desk.made.size(), 2U);
        for (const auto &[id, picture] : desk.made) {
            const bool isShown = id == desk.scene().id;
            QCOMPARE(centre(picture), QColor(isShown ? Qt::blue : Qt::red));
            QCOMPARE(picture.size(), QSize(320, 180));
        }
        desk.set(0, LayerField::Fill, QColor(Qt::green));
        desk.slots(3);
        QCOMPARE(desk.made.size(), 3U);
        QCOMPARE(centre(desk.made.back().second), QColor(Qt::green));
        desk.studio.document().setEditing(SceneSet::Hall);
        desk.slots(3);
        QVERIFY(desk.made.size() > 3U && desk.made.back().first == desk.scene().id);
        desk.studio.document().setEditing(SceneSet::Streams); // whose pictures nobody kept
        desk.made.clear();
        desk.slots(3);
        QCOMPARE(desk.made.size(), 2U);
    }

    void whatMovesIsMadeOnceInAWhile()
    {
        TileFixture desk;
        desk.setLayers({ newLayer(LayerKind::Camera) });
        QVERIFY(desk.runUntil([&] {
            return !desk.pictures.preview.isNull() && desk.studio.sources().cameraFrame();
        }));
        desk.slots(3);
        desk.made.clear();
        const auto from = desk.clock.monotonicUs();
        QVERIFY(desk.runUntil([&] {
            desk.studio.tick();
            return desk.made.size() >= 3;
        }));
        QVERIFY(desk.clock.monotonicUs() - from > 2 * ScenePictures::periodUs);
    }

    void noneAreMadeWhenTheMachineIsLateOrNobodyLooks()
    {
        TileFixture desk;
        desk.frame(2'000'000); // slots are left out
        desk.studio.tick();
        desk.slots(4);
        QVERIFY(desk.made.empty());
        desk.slots(20);
        QCOMPARE(desk.made.size(), 2U);
        desk.set(0, LayerField::Fill, QColor(Qt::green));
        desk.frame();
        desk.clock.advanceUs(FrameSchedule::periodUs - ScenePictures::needUs + 1); // no time left
        desk.studio.tick();
        QCOMPARE(desk.made.size(), 2U);
        desk.studio.scenePictures().setShown(false);
        desk.slots(40);
        QCOMPARE(desk.made.size(), 2U);
    }
};

NIMBARA_TEST(ScenePicturesTest)
#include "scene_pictures_test.moc"
