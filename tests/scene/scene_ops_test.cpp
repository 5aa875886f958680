#include "app/error.h"
#include "scene/box_compare.h"
#include "scene/profile.h"
#include "scene/scene_ops.h"
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

QString namesOf(const SceneSets &sets)
{
    QStringList names;
    for (const Scene &scene : sets.scenes(sets.editing())) {
        names << scene.name;
    }
    return names.join(QLatin1Char(','));
}

Scene sceneOf(const QString &letters)
{
    Scene scene;
    for (const QChar letter : letters) {
        scene.layers.emplace_back().name = letter;
    }
    return scene;
}

QString lettersOf(const Scene &scene)
{
    QString letters;
    for (const Layer &layer : scene.layers) {
        letters += layer.name;
    }
    return letters;
}

/// A source that counts its holders; nothing plays it.
struct CountedSource {
    std::shared_ptr<int> owner = std::make_shared<int>();
    [[nodiscard]] MediaPtr share() const { return { owner, nullptr }; }
    [[nodiscard]] long holders() const { return owner.use_count() - 1; }
};

} // namespace

class SceneOpsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void emptySetsGetTheirDefaultScene();
    void currentIndexIsClamped();
    void newScenesAreNamedAndBecomeCurrent();
    void duplicatesShareTheirSources();
    void deletingMakesThePreviousSceneCurrent_data();
    void deletingMakesThePreviousSceneCurrent();
    void lastSceneStays();
    void addedLayersAreNamedInFront();
    void secondSubtitleLayerIsRefused();
    void madeLayersAreNamedAfterTheirFile();
    void changedImageKeepsTheBox();
    void movesLayers_data();
    void movesLayers();
    void deletesLayers_data();
    void deletesLayers();
    void showsAndHides();
};

void SceneOpsTest::emptySetsGetTheirDefaultScene()
{
    SceneSets sets;
    const Scene streams = sets.currentScene();
    QCOMPARE(streams.name, QStringLiteral("Escena 1"));
    QCOMPARE(lettersOf(streams), QStringLiteral("Cámara"));

    sets.setEditing(SceneSet::Hall);
    const Scene hall = sets.currentScene();
    QCOMPARE(hall.layers.size(), std::size_t { 2 });
    QCOMPARE(hall.layers[0].fill, QColor(QStringLiteral("#081830")));
    const Layer &subtitles = hall.layers[1];
    QCOMPARE(subtitles.kind, LayerKind::Subtitle);
    QCOMPARE(boxOf(subtitles), (Box { 0.05, 0.08, 0.9, 0.84 }));
    QCOMPARE(subtitles.size, 72);
    QCOMPARE(subtitles.align, 33);
    QCOMPARE(subtitles.background.alpha(), 0);
    QCOMPARE(sets.scenes(SceneSet::Streams).size(), std::size_t { 1 });
}

void SceneOpsTest::currentIndexIsClamped()
{
    SceneSets sets = setsWith({ "a", "b", "c" }, 7);
    QCOMPARE(sets.currentScene().name, QStringLiteral("c"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 2);
    sets.setCurrentIndex(SceneSet::Streams, -4);
    QCOMPARE(sets.currentScene().name, QStringLiteral("a"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 0);
}

void SceneOpsTest::newScenesAreNamedAndBecomeCurrent()
{
    SceneSets sets = setsWith({ "a", "b", "c" }, 0);
    QCOMPARE(proposedSceneName(sets), QStringLiteral("Escena 4"));
    QVERIFY(newScene(sets, QStringLiteral("  Culto \n")));
    QCOMPARE(namesOf(sets), QStringLiteral("a,b,c,Culto"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 3);
    QCOMPARE(lettersOf(sets.currentScene()), QStringLiteral("Cámara"));

    QVERIFY(!newScene(sets, QStringLiteral(" \t ")));
    QVERIFY(!renameScene(sets, QString()));
    QVERIFY(renameScene(sets, QStringLiteral(" Final ")));
    QCOMPARE(namesOf(sets), QStringLiteral("a,b,c,Final"));

    sets.setEditing(SceneSet::Hall);
    QVERIFY(newScene(sets, QStringLiteral("Sala")));
    QCOMPARE(lettersOf(sets.currentScene()), QStringLiteral("FondoSubtítulos (IA)"));
}

void SceneOpsTest::duplicatesShareTheirSources()
{
    const CountedSource source;
    SceneSets sets = setsWith({ "a", "Culto", "z" }, 1);
    sets.addLayer(videoLayer(QStringLiteral("rtsp://camara/1"), source.share()));
    duplicateScene(sets);
    QCOMPARE(namesOf(sets), QStringLiteral("a,Culto,Culto copia,z"));
    QCOMPARE(sets.currentIndex(SceneSet::Streams), 2);
    QCOMPARE(source.holders(), 2L);

    sets.currentScene().layers[0].opacity = 0.5;
    QCOMPARE(sets.editedScenes()[1].layers[0].opacity, 1.0);
    deleteScene(sets);
    QCOMPARE(namesOf(sets), QStringLiteral("a,Culto,z"));
    QCOMPARE(source.holders(), 1L);
}

void SceneOpsTest::deletingMakesThePreviousSceneCurrent_data()
{
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("names");
    QTest::addColumn<int>("next");

    QTest::newRow("first") << 0 << QStringLiteral("b,c") << 0;
    QTest::newRow("middle") << 1 << QStringLiteral("a,c") << 0;
    QTest::newRow("last") << 2 << QStringLiteral("a,b") << 1;
    QTest::newRow("beyond the end") << 9 << QStringLiteral("a,b") << 1;
}

void SceneOpsTest::deletingMakesThePreviousSceneCurrent()
{
    QFETCH(int, current);
    QFETCH(QString, names);
    QFETCH(int, next);
    SceneSets sets = setsWith({ "a", "b", "c" }, current);
    deleteScene(sets);
    QCOMPARE(namesOf(sets), names);
    QCOMPARE(sets.currentIndex(SceneSet::Streams), next);
}

void SceneOpsTest::lastSceneStays()
{
    SceneSets sets = setsWith({ "Única" }, 0);
    QCOMPARE(deleteSceneQuestion(sets), QStringLiteral("¿Eliminar la escena \"Única\"?"));
    try {
        deleteScene(sets);
        QFAIL("the only scene was deleted");
    } catch (const Error &error) {
        QCOMPARE(error.text(), QStringLiteral("Debe quedar al menos una escena"));
    }
    QCOMPARE(namesOf(sets), QStringLiteral("Única"));
}

void SceneOpsTest::addedLayersAreNamedInFront()
{
    SceneSets sets = setsWith({ "a" }, 0);
    QCOMPARE(sets.addLayer(newLayer(LayerKind::Camera)), 0);
    QCOMPARE(sets.addLayer(screenLayer({})), 1);
    QCOMPARE(sets.addLayer(newLayer(LayerKind::Text)), 2);
    QCOMPARE(lettersOf(sets.currentScene()), QStringLiteral("Cámara 1Pantalla 2Texto 3"));
    QCOMPARE(boxOf(sets.currentScene().layers[2]), (Box { 0.08, 0.72, 0.84, 0.2 }));
}

void SceneOpsTest::secondSubtitleLayerIsRefused()
{
    SceneSets sets = setsWith({ "a" }, 0);
    sets.addLayer(newLayer(LayerKind::Subtitle));
    sets.currentScene().layers[0].visible = false;
    const Scene before = sets.currentScene();
    try {
        sets.addLayer(newLayer(LayerKind::Subtitle));
        QFAIL("two subtitle layers in one scene");
    } catch (const Error &error) {
        QCOMPARE(error.text(), QStringLiteral("Esta escena ya tiene una fuente de subtítulos."));
    }
    QVERIFY(sets.currentScene() == before);
}

void SceneOpsTest::madeLayersAreNamedAfterTheirFile()
{
    const auto picture = std::make_shared<Frame>(500, 500);
    const Layer image = imageLayer(QStringLiteral("/fotos/logo.png"), picture, landscapeSize);
    QCOMPARE(image.name, QStringLiteral("logo.png"));
    QCOMPARE(image.image, picture);
    COMPARE_BOX(boxOf(image), (Box { 0.55, 0.05, 0.4, 0.4 * 1920 / 1080 }));

    const auto named
        = [](const char *location) { return videoLayer(QString::fromUtf8(location), {}).name; };
    QCOMPARE(named("file:///videos/Himno%20final.mp4"), QStringLiteral("Himno final.mp4"));
    QCOMPARE(named("rtsp://camara/1"), QStringLiteral("rtsp://camara/1"));
}

void SceneOpsTest::changedImageKeepsTheBox()
{
    Scene scene;
    scene.layers.push_back(imageLayer(QStringLiteral("/a.png"), {}, landscapeSize));
    const Box box = boxOf(scene.layers[0]);
    const Scene program = scene;
    const auto picture = std::make_shared<Frame>(10, 200);
    QVERIFY(!changeImage(scene, -1, QStringLiteral("/b.png"), picture));
    QVERIFY(changeImage(scene, 0, QStringLiteral("/fotos/b.png"), picture));
    QCOMPARE(boxOf(scene.layers[0]), box);
    QCOMPARE(scene.layers[0].path, QStringLiteral("/fotos/b.png"));
    QCOMPARE(scene.layers[0].name, QStringLiteral("b.png"));
    QCOMPARE(scene.layers[0].image, picture);
    QVERIFY(!program.layers[0].image);
}

void SceneOpsTest::movesLayers_data()
{
    QTest::addColumn<int>("selected");
    QTest::addColumn<int>("delta");
    QTest::addColumn<QString>("order");
    QTest::addColumn<int>("selection");

    QTest::newRow("forward") << 0 << 1 << QStringLiteral("bac") << 1;
    QTest::newRow("backward") << 2 << -1 << QStringLiteral("acb") << 1;
    QTest::newRow("front forward") << 2 << 1 << QStringLiteral("abc") << 2;
    QTest::newRow("back backward") << 0 << -1 << QStringLiteral("abc") << 0;
    QTest::newRow("none") << -1 << 1 << QStringLiteral("abc") << -1;
}

void SceneOpsTest::movesLayers()
{
    QFETCH(int, selected);
    QFETCH(int, delta);
    QFETCH(QString, order);
    QFETCH(int, selection);
    Scene scene = sceneOf(QStringLiteral("abc"));
    QCOMPARE(moveLayer(scene, selected, delta), selection);
    QCOMPARE(lettersOf(scene), order);
}

void SceneOpsTest::deletesLayers_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("selected");
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("selection");

    const auto row = [](const char *name, const char *before, int at, const char *after, int then) {
        QTest::newRow(name) << QString::fromLatin1(before) << at << QString::fromLatin1(after)
                            << then;
    };
    row("first", "abc", 0, "bc", 0);
    row("last", "abc", 2, "ab", 1);
    row("only", "a", 0, "", -1);
    row("none selected", "ab", -1, "ab", -1);
}

void SceneOpsTest::deletesLayers()
{
    QFETCH(QString, before);
    QFETCH(int, selected);
    QFETCH(QString, after);
    QFETCH(int, selection);
    Scene scene = sceneOf(before);
    QCOMPARE(deleteLayer(scene, selected), selection);
    QCOMPARE(lettersOf(scene), after);
}

void SceneOpsTest::showsAndHides()
{
    Scene scene = sceneOf(QStringLiteral("ab"));
    QVERIFY(!setLayerVisible(scene, 1, true));
    QVERIFY(setLayerVisible(scene, 1, false));
    QVERIFY(!scene.layers[1].visible);
    QVERIFY(scene.layers[0].visible);
    QVERIFY(!setLayerVisible(scene, 2, false));
}

NIMBARA_TEST(SceneOpsTest)
#include "scene_ops_test.moc"
