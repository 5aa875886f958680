#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/error_of.h"
#include "support/test_registry.h"

#include <QSignalSpy>
#include <QUrl>

#include <chrono>
#include <functional>
#include <future>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A studio with a folder for its project.
struct ProjectFixture : StudioFixture {
    QTemporaryDir folder;
    QString path = folder.filePath(u"culto.nimbara"_s);
    QStringList warnings;
    QString failure;
    int opened = 0;

    explicit ProjectFixture(StudioPeers peers = {})
        : StudioFixture(std::move(peers))
    {
        QObject::connect(&projects(), &ProjectDesk::opened, [this](const QList<Message> &told) {
            for (const Message &each : told) {
                warnings << each.spanish();
            }
            ++opened;
        });
        QObject::connect(&projects(), &ProjectDesk::failed, [this](const Message &told) {
            failure = told.spanish();
        });
    }
    ProjectDesk &projects() { return studio.projects(); }
    bool open()
    {
        projects().openProject(path);
        return runUntil([&] { return opened == 1 || !failure.isEmpty(); });
    }
    /// Saves under this title.
    void saveAs(const char *title)
    {
        studio.document().setTitle(QLatin1String(title));
        projects().saveProject(path);
    }
};

} // namespace

class ProjectDeskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void savesGoOnWhileAnOpenHangs()
    {
        ProjectFixture desk;
        // A network share that has gone away. Nothing waits for it, not even the end of the test.
        desk.projects().readFile = [](const QString &) -> QByteArray {
            std::promise<QByteArray>().get_future().wait_for(std::chrono::hours(1));
            return {};
        };
        desk.projects().openProject(u"/red/viejo.nimbara"_s);
        QCOMPARE(errorOf([&] { desk.projects().openProject(desk.path); }),
            u"Espera a que termine de abrirse o guardarse el proyecto."_s);
        for (const char *title : { "uno", "dos", "tres" }) { // the last two while one is written
            desk.saveAs(title);
        }
        QVERIFY(desk.runUntil([&] { return desk.projects().lastPath() == desk.path; }));
        QCOMPARE(fromJson(readProjectFile(desk.path)).title, u"tres"_s);
    }

    /// A disk that gives the file late, and what the operator does until then: what would be lost
    /// is lost on demand alone.
    void aSlowOpeningTakesNothingAway_data()
    {
        using Deed = std::function<void(ProjectFixture &)>;
        QTest::addColumn<Deed>("meanwhile");
        QTest::addColumn<bool>("isAsked");
        QTest::newRow("nothing") << Deed([](ProjectFixture &) {}) << false;
        const Deed edit = [](ProjectFixture &desk) { desk.take({ colorLayer(Qt::red) }); };
        QTest::newRow("an edit that is taken") << edit << true;
        QTest::newRow("a TAKE") << Deed([](auto &desk) { desk.studio.program().take(); }) << true;
        QTest::newRow("black") << Deed([](auto &desk) { desk.studio.program().offAir(); }) << true;
        QTest::newRow("an edit that is undone") << Deed([edit](auto &desk) {
            desk.setLayers({ colorLayer(Qt::red) });
            desk.studio.document().undo();
        }) << false;
    }
    void aSlowOpeningTakesNothingAway()
    {
        QFETCH(std::function<void(ProjectFixture &)>, meanwhile);
        QFETCH(bool, isAsked);
        ProjectFixture desk;
        desk.saveAs("del archivo");
        QVERIFY(desk.runUntil([&] { return desk.projects().lastPath() == desk.path; }));
        desk.studio.document().setTitle(u"en la mesa"_s);
        const auto title = [&] { return desk.studio.document().project().title; };
        std::promise<void> disk;
        desk.projects().readFile = [gate = disk.get_future().share()](const QString &path) {
            gate.wait();
            return readProjectFile(path);
        };
        const QSignalSpy ready(&desk.projects(), &ProjectDesk::ready);
        for (int turn = 0; turn < 2; ++turn) { // the first one is let go of
            desk.projects().openProject(desk.path);
            QVERIFY(desk.projects().isOpening());
            if (turn == 0) {
                desk.projects().cancelOpening();
                QVERIFY(!desk.projects().isOpening());
            }
        }
        desk.frame();
        meanwhile(desk);
        disk.set_value();
        QVERIFY(desk.runUntil([&] { return ready.count() + desk.opened == 1; }));
        QCOMPARE(ready.count(), isAsked ? 1 : 0);
        QCOMPARE(title(), isAsked ? u"en la mesa"_s : u"del archivo"_s);
        QCOMPARE(desk.projects().isOpening(), isAsked);
        desk.projects().takeOverOpened();
        QCOMPARE(title(), u"del archivo"_s);
        QCOMPARE(desk.opened, 1);
    }

    void theLastSaveIsWrittenBeforeTheEnd()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"culto.nimbara"_s);
        {
            ProjectFixture desk;
            desk.path = path;
            desk.saveAs("uno");
            desk.saveAs("dos");
        }
        QCOMPARE(fromJson(readProjectFile(path)).title, u"dos"_s);
    }

    /// The same file in two layers, a clip with a blank in its name, the one of the transition, and
    /// one that is nowhere.
    void missingFilesAreListedOnceAndFoundInOneStep()
    {
        ProjectFixture desk;
        std::vector<Layer> layers { newLayer(LayerKind::Image),
            newLayer(LayerKind::Image),
            newLayer(LayerKind::Video),
            newLayer(LayerKind::Image) };
        layers[0].path = layers[1].path = u"/antes/fotos/logo.png"_s;
        layers[2].uri = u"file:///antes/clips/culto%201.mp4"_s;
        layers[3].path = u"/antes/fotos/nada.png"_s;
        Project project = newProject();
        project.scenes.of(SceneSet::Hall) = { makeScene(u"Sala"_s, layers) };
        project.transitionClip = { u"/antes/clips/paso.webm"_s, 300 };
        writeProjectFile(desk.path, toJson(project));
        QVERIFY(desk.open());
        MediaSearch &search = desk.projects().mediaSearch();
        QCOMPARE(search.missing(),
            QStringList({ layers[0].path,
                u"/antes/clips/culto 1.mp4"_s,
                layers[3].path,
                project.transitionClip.path }));

        const QDir now(desk.folder.path() + u"/ahora"_s);
        QVERIFY(now.mkpath(u"fotos"_s));
        QImage(8, 8, QImage::Format_RGB32).save(now.filePath(u"fotos/logo.png"_s));
        QVERIFY(QFile::copy(clip({}), now.filePath(u"culto 1.mp4"_s)));
        QVERIFY(QFile::copy(clip({}), now.filePath(u"paso.webm"_s)));
        QList<int> told;
        QObject::connect(&search, &MediaSearch::finished, [&](int found, int missing) {
            told = { found, missing };
        });
        const SceneSets before = desk.studio.document().scenes();
        search.search(now.path());
        QVERIFY(desk.runUntil([&] { return !told.isEmpty(); }));
        QCOMPARE(told, QList<int>({ 3, 1 }));
        const TransitionClip passed { now.filePath(u"paso.webm"_s), 300 };
        QCOMPARE(desk.studio.document().project().transitionClip, passed);
        const std::vector<Layer> &mended
            = desk.studio.document().scenes().of(SceneSet::Hall)[0]->layers;
        QCOMPARE(mended[0].path, now.filePath(u"fotos/logo.png"_s));
        QCOMPARE(mended[1].path, mended[0].path);
        QCOMPARE(QUrl(mended[2].uri).toLocalFile(), now.filePath(u"culto 1.mp4"_s));
        QCOMPARE(mended[3].path, layers[3].path);
        const Sources &sources = desk.studio.sources();
        QVERIFY(desk.runUntil(
            [&] { return sources.contentSize(mended[0]) && sources.contentSize(mended[2]); }));
        desk.studio.document().undo();
        QCOMPARE(desk.studio.document().scenes(), before);
    }

    void clipsPlayWhileTheirSceneIsShown()
    {
        ProjectFixture desk;
        Project project = newProject();
        project.scenes.of(SceneSet::Streams).clear();
        for (int scene = 0; scene < 2; ++scene) {
            Layer video = newLayer(LayerKind::Video);
            video.uri = QUrl::fromLocalFile(clip({})).toString();
            project.scenes.of(SceneSet::Streams)
                .push_back(makeScene(QString::number(scene), { video }));
        }
        writeProjectFile(desk.path, toJson(project));
        QVERIFY(desk.open());
        Document &document = desk.studio.document();
        const auto frames = [&](std::size_t scene) {
            const Layer &layer = document.editedScenes()[scene]->layers[0];
            return desk.studio.sources().pool().find(layer)->frameCount();
        };
        QVERIFY(desk.runUntil([&] { return frames(0) > 3; }));
        QCOMPARE(frames(1), 0U);
        document.showScene(document.editedScenes()[1]->id);
        QVERIFY(desk.runUntil([&] { return frames(1) > 0; }));
        const auto seen = frames(0);
        QVERIFY(desk.runUntil([&] { return frames(1) > 4; }));
        QCOMPARE(frames(0), seen);
    }

    void aLargeProjectOpensAndMissingMediaIsWarnedOf()
    {
        ProjectFixture desk;
        Project large = newProject();
        large.scenes.of(SceneSet::Streams).clear();
        for (int scene = 0; scene < 100; ++scene) {
            std::vector<Layer> layers;
            for (int kind = 0; kind < 20; ++kind) {
                Layer &layer = layers.emplace_back(newLayer(static_cast<LayerKind>(kind % 8)));
                layer.path = desk.folder.filePath(u"falta.png"_s);
                layer.uri = scene < 10 || layer.kind != LayerKind::Video
                    ? u"file:///falta/%1.mp4"_s.arg(scene)
                    : u"ftp://falta"_s;
            }
            large.scenes.of(SceneSet::Streams).push_back(makeScene(QString::number(scene), layers));
        }
        large.setCurrentPlace(SceneSet::Streams, 99);
        writeProjectFile(desk.path, toJson(large));
        QVERIFY(desk.open());
        const Scenes &scenes = desk.studio.document().editedScenes();
        QCOMPARE(scenes.size(), 100U);
        QCOMPARE(desk.scene().name, u"99"_s);
        QCOMPARE(desk.scene().layers.size(), 20U);
        // Each image and video, and each screen where there is none, by its layer.
        const auto told = [&](const QString &text) { return desk.warnings.filter(text).size(); };
        QCOMPARE(told(desk.layer(1).name + u": Imagen inválida o demasiado grande"_s), 300);
        QCOMPARE(told(desk.layer(3).name + u": URL multimedia no compatible"_s), 270);
        QVERIFY(told(u"No se pudo iniciar fuente"_s) >= 30);
        QVERIFY(!desk.studio.sources().pool().find(scenes[0]->layers[3]));
    }

    void failuresChangeNothing()
    {
        using Row = std::pair<QByteArray, const char *>;
        for (const auto &[content, text] :
            { Row(R"({"version":4,"gain":100})", "Versión de proyecto inválida"),
                Row(R"({"version":3,"gain":201})", "Opciones de proyecto inválidas") }) {
            ProjectFixture desk;
            writeProjectFile(desk.path, content);
            desk.studio.stage().program.setFadeEnabled(false);
            desk.take({ colorLayer(Qt::red) });
            QVERIFY(desk.open());
            QCOMPARE(desk.failure, QString::fromUtf8(text));
            desk.frame();
            QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
            QCOMPARE(desk.scene().layers.size(), 1U);
        }
    }

    void refusedWhileAnOutputRuns()
    {
        ProjectFixture desk;
        desk.studio.outputs().recording().start(desk.folder.filePath(u"r.webm"_s),
            desk.studio.stage().streamFrame());
        const auto text = u"Detén salidas antes de abrir/guardar proyecto"_s;
        QCOMPARE(errorOf([&] { desk.projects().saveProject(desk.path); }), text);
        QCOMPARE(errorOf([&] { desk.projects().openProject(desk.path); }), text);
    }

    /// Of two instances that died, the one work is not wanted and the other not at once.
    void workThatACrashLeftGoesOnlyWhenItIsRefused()
    {
        const QTemporaryDir data;
        const QDir copies(data.filePath(u"recovery"_s));
        for (const std::int64_t time : { 1, 2 }) {
            RecoveryPlace(copies.path()).write({ toJson(newProject(), {}), {}, time }, false);
        }
        ProjectFixture desk({ .permission = nullptr, .dataFolder = data.path() });
        WorkSafety &safety = desk.studio.safety();
        std::vector<qint64> offered;
        QObject::connect(&safety, &WorkSafety::found, [&](const QString &, qint64 timeMs) {
            offered.push_back(timeMs);
        });
        safety.lookForWork();
        QVERIFY(desk.runUntil([&] { return !offered.empty(); }));
        safety.discard();
        QCOMPARE(offered, (std::vector<qint64> { 2, 1 }));
        const auto left = [&copies] { return copies.entryList({ u"*.recovery"_s }).size(); };
        QCOMPARE(left(), 1);

        desk.saveAs("guardado");
        QVERIFY(desk.runUntil([&] { return !desk.projects().lastPath().isEmpty(); }));
        safety.recover();
        desk.projects().cancelOpening();
        desk.projects().openBackup(desk.path); // a recovery of something else
        QVERIFY(desk.runUntil([&] { return desk.opened == 1; }));
        QVERIFY(desk.runUntil([&] { return left() == 2; })); // with the own one of this work
    }

    void aFailedSaveIsTold()
    {
        ProjectFixture desk;
        desk.projects().saveProject(u"/no/hay.nimbara"_s);
        QVERIFY(desk.runUntil([&] { return !desk.failure.isEmpty(); }));
        QCOMPARE(desk.failure, u"No se pudo guardar proyecto"_s);
        QVERIFY(desk.projects().lastPath().isEmpty());
    }
};

NIMBARA_TEST(ProjectDeskTest)
#include "project_desk_test.moc"
