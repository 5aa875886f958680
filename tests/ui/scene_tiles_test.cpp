#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/scene_tiles.h"

#include <QComboBox>
#include <QSpinBox>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Three stream scenes "a", "b" and "c"; "a" is in PREVIEW.
struct TileDesk : Desk {
    TileDesk()
    {
        find<QPushButton>("closeFirstSteps")->click(); // tiles give way to them
        window.resize(1366, 706);
        const SceneId first = document().currentScene()->id;
        document().apply(RenameScene { first, u"a"_s });
        for (const char *name : { "b", "c" }) {
            Scene scene = defaultScene(false);
            scene.name = QLatin1String(name);
            document().apply(AddScene { SceneSet::Streams, scene });
        }
        document().showScene(first);
    }
    SceneTiles *tiles() { return find<SceneTiles>("sceneTiles"); }
    QString names()
    {
        QString all;
        for (const ScenePtr &scene : document().editedScenes()) {
            all += scene->name;
        }
        return all;
    }
    QString current() { return document().currentScene()->name; }
    QPoint middle(int row) { return tiles()->visualItemRect(tiles()->item(row)).center(); }
};

} // namespace

/// The scenes as tiles.
class SceneTilesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void numbersAndClicksChooseForPreview()
    {
        TileDesk desk;
        QVERIFY(desk.isActive());
        QTest::keyClick(&desk.window, Qt::Key_3);
        QCOMPARE(desk.current(), u"c"_s);
        QCOMPARE(desk.tiles()->currentRow(), 2);
        QTest::keyClick(&desk.window, Qt::Key_9); // there is none
        QTest::keyClick(&desk.window, Qt::Key_2, Qt::KeypadModifier);
        QCOMPARE(desk.current(), u"b"_s);
        QTest::mouseClick(desk.tiles()->viewport(), Qt::LeftButton, {}, desk.middle(0));
        QCOMPARE(desk.current(), u"a"_s);
        QCOMPARE(desk.find<QComboBox>("scenes")->currentIndex(), 0);
        desk.find<QComboBox>("scenes")->setCurrentIndex(1);
        QCOMPARE(desk.tiles()->currentRow(), 1);
        QVERIFY(!desk.stage().program.streams()); // nothing went on air

        for (QWidget *typed : { static_cast<QWidget *>(desk.find<QLineEdit>("title")),
                 static_cast<QWidget *>(desk.window.findChild<QAbstractSpinBox *>()) }) {
            typed->setFocus();
            QTest::keyClick(typed, Qt::Key_3);
            QCOMPARE(desk.current(), u"b"_s);
        }
        QCOMPARE(desk.find<QLineEdit>("title")->text(), u"3"_s);
    }

    void aDoubleClickTakesAndTheTileIsMarked()
    {
        TileDesk desk;
        QTest::mouseClick(desk.tiles()->viewport(), Qt::LeftButton, {}, desk.middle(1));
        QTest::mouseDClick(desk.tiles()->viewport(), Qt::LeftButton, {}, desk.middle(1));
        QTRY_VERIFY(desk.tiles()->isOnAir(1));
        QCOMPARE(desk.stage().program.streams()->name, u"b"_s);
        QVERIFY(!desk.tiles()->isOnAir(0));
        QVERIFY(
            desk.tiles()->item(1)->data(Qt::AccessibleTextRole).toString().contains(u"AL AIRE"_s));
        desk.press("editHall");
        QVERIFY(!desk.tiles()->isOnAir(0));
    }

    void draggedTilesChangePlacesInOneStep()
    {
        for (const auto &[from, gap, after] : { std::tuple { 0, 3, "bca" },
                 { 0, 2, "bac" },
                 { 2, 0, "cab" },
                 { 1, 1, "abc" },
                 { 1, 2, "abc" } }) {
            const RowName named(after);
            TileDesk desk;
            desk.tiles()->setCurrentRow(from);
            const QString moved = desk.current();
            const QRect tile = desk.tiles()->visualItemRect(desk.tiles()->item(qMin(gap, 2)));
            desk.tiles()->dropCurrent(
                desk.tiles()->gapAt(gap < 3 ? tile.topLeft() : tile.topRight()));
            QCOMPARE(desk.names(), QLatin1String(after));
            QCOMPARE(desk.current(), moved);
            if (desk.names() != u"abc"_s) {
                desk.press("undo");
                QCOMPARE(desk.names(), u"abc"_s);
                QCOMPARE(desk.current(), moved);
            }
        }
    }

    void aSceneIsRenamedInItsTile()
    {
        TileDesk desk;
        QVERIFY(desk.isActive());
        desk.tiles()->setFocus();
        QTest::keyClick(desk.tiles(), Qt::Key_R, Qt::ControlModifier);
        auto *field = desk.tiles()->findChild<QLineEdit *>();
        QVERIFY(field != nullptr && field->hasFocus());
        QTest::keyClicks(field, u"Culto 2"_s); // neither chooses a scene nor takes one
        desk.document().apply(RenameScene { desk.document().editedScenes()[0]->id, u"x"_s });
        const SceneId last = desk.document().editedScenes()[2]->id;
        desk.document().showScene(last); // which ended it
        const QImage picture(320, 180, QImage::Format_RGBX8888);
        Q_EMIT desk.window.studio().scenePictures().made(last, picture);
        QVERIFY(field->hasFocus() && desk.tiles()->isInPreview(2));
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(desk.names(), u"Culto 2bc"_s);
        QCOMPARE(desk.current(), u"c"_s);
        QCOMPARE(desk.tiles()->currentRow(), 2);
        QVERIFY(!desk.stage().program.streams());
        QCOMPARE(desk.tiles()->item(0)->text(), u"Culto 2"_s);
    }

    void picturesComeWhileThereIsRoomForTiles()
    {
        TileDesk desk;
        ScenePictures &pictures = desk.window.studio().scenePictures();
        const QImage picture(320, 180, QImage::Format_RGBX8888);
        const SceneId last = desk.document().editedScenes()[2]->id;
        for (const auto &[window, room] : { std::pair { QSize(1366, 706), true },
                 { { 1024, 538 }, false },
                 { { 1920, 1018 }, true } }) {
            desk.window.resize(window);
            QTRY_COMPARE(desk.tiles()->isVisible(), room);
            QCOMPARE(pictures.isShown(), room);
            Q_EMIT pictures.made(last, picture);
            QCOMPARE(desk.tiles()->pictureAt(2).height(), desk.tiles()->pictureSize().height());
        }
        // A scene that stands still is not drawn anew for tiles of another size.
        const QSize high = desk.tiles()->pictureSize();
        desk.window.resize(1366, 706);
        QTRY_VERIFY(desk.tiles()->pictureSize() != high);
        QCOMPARE(desk.tiles()->pictureAt(2).height(), desk.tiles()->pictureSize().height());
    }
};

NIMBARA_TEST(SceneTilesTest)
#include "scene_tiles_test.moc"
