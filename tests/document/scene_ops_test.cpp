#include "base/error.h"
#include "document/layer_geometry.h"
#include "document/profile.h"
#include "document/scene_ops.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;

namespace {

SceneSets setsWith(std::initializer_list<const char *> names, std::int32_t current)
{
    SceneSets sets;
    for (const char *name : names) {
        sets.editedScenes().push_back({ QString::fromUtf8(name), {} });
    }
    sets.setCurrentIndex(SceneSet::Streams, current);
    return sets;
}

/// The names of scenes or layers in their order.
template <typename Items> QString namesOf(const Items &items)
{
    QStringList names;
    for (const auto &item : items) {
        names << item.name;
    }
    return names.join(QLatin1Char(','));
}

Scene threeLayers()
{
    Scene scene;
    for (const char letter : { 'a', 'b', 'c' }) {
        scene.layers.emplace_back().name = QLatin1Char(letter);
    }
    return scene;
}

template <typename Operation> QString refusal(Operation operation)
{
    try {
        operation();
        return {};
    } catch (const Error &error) {
        return error.text();
    }
}

} // namespace

class SceneOpsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kindsGoThroughTheirWords();
    void horizontalEditsKeepTheVerticalBits();
    void setsAreNeverEmpty();
    void newScenesAreNamedAndBecomeCurrent();
    void duplicatesShareTheirSources();
    void deletingMakesThePreviousSceneCurrent();
    void addedLayersAreNamedInFront();
    void changedImageKeepsTheBox();
    void layersMoveHideAndGo();
};

void SceneOpsTest::kindsGoThroughTheirWords()
{
    const auto words = QStringLiteral("camera image text video screen color verse subtitle");
    const auto names
        = QStringLiteral("Cámara,Imagen,Texto,Video,Pantalla,Color,Versículo,Subtítulos (IA)");
    for (int i = 0; i < 8; ++i) {
        const auto kind = static_cast<LayerKind>(i);
        QCOMPARE(wordOfKind(kind), words.split(QLatin1Char(' ')).at(i));
        QCOMPARE(kindFromWord(wordOfKind(kind)), kind);
        QCOMPARE(displayName(kind), names.split(QLatin1Char(',')).at(i));
    }
    QCOMPARE(kindFromWord(QStringLiteral("Camera ")), LayerKind::Camera);
    QCOMPARE(wordOfKind(static_cast<LayerKind>(8)), QStringLiteral("camera"));
    QVERIFY(displayName(static_cast<LayerKind>(-1)).isEmpty());
}

void SceneOpsTest::horizontalEditsKeepTheVerticalBits()
{
    const int rows[][4] { { 132, 1, 0, 129 },
        { 33, 0, 1, 36 },
        { 66, 2, 2, 66 },
        { 72, 0, 2, 66 } };
    for (const auto &[bits, shown, chosen, result] : rows) {
        QCOMPARE(static_cast<int>(horizontalAlign(bits)), shown);
        QCOMPARE(withHorizontalAlign(bits, static_cast<HorizontalAlign>(chosen)), result);
    }
}

void SceneOpsTest::setsAreNeverEmpty()
{
    SceneSets sets;
    QCOMPARE(sets.currentScene().name, QStringLiteral("Escena 1"));
    QCOMPARE(namesOf(sets.currentScene().layers), QStringLiteral("Cámara"));
    sets.setEditing(SceneSet::Hall);
    QCOMPARE(namesOf(sets.currentScene().layers), QStringLiteral("Fondo,Subtítulos (IA)"));
    QCOMPARE(sets.currentScene().layers[0].fill, QColor(8, 24, 48));
    const Layer &subtitles = sets.currentScene().layers[1];
    QCOMPARE(boxOf(subtitles), (Box { 0.05, 0.08, 0.9, 0.84 }));
    QVERIFY(subtitles.size == 72 && subtitles.align == 33 && subtitles.background.alpha() == 0);

    sets = setsWith({ "a", "b", "c" }, 7);
    QCOMPARE(sets.currentScene().name, QStringLiteral("c"));
    sets.setCurrentIndex(SceneSet::Streams, -4);
    QCOMPARE(sets.currentScene().name, QStringLiteral("a"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 0);
}

void SceneOpsTest::newScenesAreNamedAndBecomeCurrent()
{
    SceneSets sets = setsWith({ "a", "b", "c" }, 0);
    QCOMPARE(proposedSceneName(sets), QStringLiteral("Escena 4"));
    QVERIFY(newScene(sets, QStringLiteral("  Culto \n")));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 3);
    QVERIFY(!newScene(sets, QStringLiteral(" \t ")));
    QVERIFY(!renameScene(sets, QString()));
    QCOMPARE(namesOf(sets.editedScenes()), QStringLiteral("a,b,c,Culto"));
    QVERIFY(renameScene(sets, QStringLiteral(" Final ")));
    QCOMPARE(namesOf(sets.editedScenes()), QStringLiteral("a,b,c,Final"));
    sets.setEditing(SceneSet::Hall);
    QVERIFY(newScene(sets, QStringLiteral("Sala")));
    QCOMPARE(sets.currentScene().layers.size(), std::size_t { 2 });
}

void SceneOpsTest::duplicatesShareTheirSources()
{
    const auto owner = std::make_shared<int>(); // stands for a source: counts its holders
    SceneSets sets = setsWith({ "a", "Culto", "z" }, 1);
    sets.addLayer(videoLayer(QStringLiteral("rtsp://camara/1"), MediaPtr(owner, nullptr)));
    duplicateScene(sets);
    QCOMPARE(namesOf(sets.editedScenes()), QStringLiteral("a,Culto,Culto copia,z"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 2);
    QCOMPARE(owner.use_count(), 3L);

    sets.currentScene().layers[0].opacity = 0.5;
    QCOMPARE(sets.editedScenes()[1].layers[0].opacity, 1.0);
    deleteScene(sets);
    QCOMPARE(owner.use_count(), 2L);
    QCOMPARE(deleteLayer(sets.currentScene(), 0), -1);
    QCOMPARE(owner.use_count(), 1L);
}

void SceneOpsTest::deletingMakesThePreviousSceneCurrent()
{
    const std::array left { "b,c", "a,c", "a,b", "a,b" };
    for (int current = 0; current < 4; ++current) {
        SceneSets sets = setsWith({ "a", "b", "c" }, current);
        deleteScene(sets);
        QCOMPARE(namesOf(sets.editedScenes()), QLatin1String(left.at(current)));
        QCOMPARE(sets.currentIndex(SceneSet::Streams), std::clamp(current - 1, 0, 1));
    }
    SceneSets sets = setsWith({ "Única" }, 0);
    QCOMPARE(deleteSceneQuestion(sets), QStringLiteral("¿Eliminar la escena \"Única\"?"));
    QCOMPARE(refusal([&] { deleteScene(sets); }),
        QStringLiteral("Debe quedar al menos una escena"));
    QCOMPARE(namesOf(sets.editedScenes()), QStringLiteral("Única"));
}

void SceneOpsTest::addedLayersAreNamedInFront()
{
    SceneSets sets = setsWith({ "a" }, 0);
    sets.addLayer(newLayer(LayerKind::Subtitle));
    sets.addLayer(screenLayer({}));
    QCOMPARE(sets.addLayer(newLayer(LayerKind::Text)), 2);
    sets.addLayer(videoLayer(QStringLiteral("file:///videos/Himno%20final.mp4"), {}));
    sets.addLayer(videoLayer(QStringLiteral("rtsp://camara/1"), {}));
    const auto names
        = QStringLiteral("Subtítulos (IA),Pantalla 2,Texto 3,Himno final.mp4,rtsp://camara/1");
    QCOMPARE(namesOf(sets.currentScene().layers), names);

    sets.currentScene().layers[0].visible = false;
    QCOMPARE(refusal([&] { sets.addLayer(newLayer(LayerKind::Subtitle)); }),
        QStringLiteral("Esta escena ya tiene una fuente de subtítulos."));
    QCOMPARE(namesOf(sets.currentScene().layers), names);
}

void SceneOpsTest::changedImageKeepsTheBox()
{
    const auto square = std::make_shared<Frame>(50, 50);
    const auto tall = std::make_shared<Frame>(10, 200);
    Scene scene;
    scene.layers = { imageLayer(QStringLiteral("/fotos/logo.png"), square, landscapeSize) };
    const Scene program = scene;
    QCOMPARE(program.layers[0].name, QStringLiteral("logo.png"));
    QCOMPARE(boxOf(program.layers[0]), newImageBox(square->size(), landscapeSize));

    QVERIFY(!changeImage(scene, -1, QStringLiteral("/b.png"), tall));
    QVERIFY(changeImage(scene, 0, QStringLiteral("/fotos/b.png"), tall));
    QCOMPARE(boxOf(scene.layers[0]), boxOf(program.layers[0]));
    QCOMPARE(scene.layers[0].path, QStringLiteral("/fotos/b.png"));
    QCOMPARE(scene.layers[0].name, QStringLiteral("b.png"));
    QVERIFY(scene.layers[0].image == tall && program.layers[0].image == square);
}

void SceneOpsTest::layersMoveHideAndGo()
{
    Scene scene = threeLayers();
    QCOMPARE(moveLayer(scene, 2, 1), 2); // already in front
    QCOMPARE(moveLayer(scene, 0, -1), 0); // already at the back
    QCOMPARE(moveLayer(scene, -1, 1), -1);
    QCOMPARE(namesOf(scene.layers), QStringLiteral("a,b,c"));
    QCOMPARE(moveLayer(scene, 0, 1), 1);
    QCOMPARE(moveLayer(scene, 2, -1), 1);
    QCOMPARE(namesOf(scene.layers), QStringLiteral("b,c,a"));

    QVERIFY(!setLayerVisible(scene, 1, true));
    QVERIFY(setLayerVisible(scene, 1, false));
    QVERIFY(scene.layers[0].visible && !scene.layers[1].visible);
    QVERIFY(!setLayerVisible(scene, 3, false));

    QCOMPARE(deleteLayer(scene, -1), -1);
    QCOMPARE(deleteLayer(scene, 0), 0);
    QCOMPARE(deleteLayer(scene, 1), 0); // the last: its neighbour is selected
    QCOMPARE(namesOf(scene.layers), QStringLiteral("c"));
    QCOMPARE(deleteLayer(scene, 0), -1);
}

NIMBARA_TEST(SceneOpsTest)
#include "scene_ops_test.moc"
