#include "app/error.h"
#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/test_registry.h"

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <future>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

/// One layer of every kind, with fields off their defaults.
std::vector<Layer> everyKind(const QString &imagePath)
{
    std::vector<Layer> layers;
    for (int kind = 0; kind < 8; ++kind) {
        Layer layer = newLayer(static_cast<LayerKind>(kind));
        layer.name = QStringLiteral("capa %1").arg(kind);
        layer.opacity = 0.5 + kind / 20.0;
        layer.x = kind / 100.0;
        layer.visible = kind != static_cast<int>(LayerKind::Screen); // needs a real display
        layers.push_back(layer);
    }
    layers[1].path = imagePath;
    layers[3].uri = fileLocation(clip({}));
    layers[2].color = QColor(1, 2, 3);
    return layers;
}

} // namespace

class ProjectDeskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void savedAndOpenedIsTheSamePicture()
    {
        const QTemporaryDir folder;
        const QString imagePath = folder.filePath(QStringLiteral("logo.png"));
        QImage logo(80, 60, QImage::Format_RGB32);
        logo.fill(Qt::yellow);
        QVERIFY(logo.save(imagePath));
        const QString path = folder.filePath(QStringLiteral("culto.nimbara"));

        StudioFixture desk;
        desk.setLayers(everyKind(imagePath));
        desk.studio.stage().title = QStringLiteral("Bienvenidos");
        desk.studio.stage().band = true;
        QStringList warnings;
        bool opened = false;
        desk.studio.projects().onOpened = [&](const Project &, const QStringList &told) {
            warnings = told;
            opened = true;
        };
        const auto before = desk.studio.stage().scenes.currentScene();
        desk.studio.projects().saveProject(path, 120);
        QVERIFY(desk.runUntil([&] { return desk.studio.projects().lastPath() == path; }));

        desk.setLayers({ colorLayer(Qt::red) });
        desk.studio.program().take();
        desk.studio.projects().openProject(path);
        QVERIFY(desk.runUntil([&] { return opened; }));
        const Scene &after = desk.studio.stage().scenes.currentScene();
        QCOMPARE(after.layers.size(), before.layers.size());
        QVERIFY(after.layers[1].image);
        QVERIFY(after.layers[3].source);
        for (std::size_t i = 0; i < after.layers.size(); ++i) {
            Layer plain = after.layers[i];
            plain.image = before.layers[i].image;
            plain.source = before.layers[i].source;
            QVERIFY2(plain == before.layers[i], qPrintable(plain.name));
        }
        QVERIFY(desk.studio.stage().program.streams().layers.empty()); // black until TAKE
        QCOMPARE(desk.studio.stage().title, QStringLiteral("Bienvenidos"));
        QVERIFY(warnings.size() <= 1); // the screen, where there is none
    }

    void missingMediaIsWarnedOfLayerByLayer()
    {
        const QTemporaryDir folder;
        StudioFixture desk;
        Layer image = newLayer(LayerKind::Image);
        image.name = QStringLiteral("Logo");
        image.path = folder.filePath(QStringLiteral("gone.png"));
        Layer video = newLayer(LayerKind::Video);
        video.name = QStringLiteral("Anuncio");
        video.uri = QStringLiteral("ftp://host/clip.mp4");
        desk.setLayers({ image, video });
        const QString path = folder.filePath(QStringLiteral("p.nimbara"));
        QStringList warnings;
        desk.studio.projects().onOpened
            = [&](const Project &, const QStringList &told) { warnings = told; };
        desk.studio.projects().saveProject(path, 100);
        QVERIFY(desk.runUntil([&] { return !desk.studio.projects().lastPath().isEmpty(); }));
        desk.studio.projects().openProject(path);
        QVERIFY(desk.runUntil([&] { return !warnings.isEmpty(); }));
        QCOMPARE(warnings,
            QStringList({ QStringLiteral("Logo: Imagen inválida o demasiado grande"),
                QStringLiteral("Anuncio: URL multimedia no compatible") }));
    }

    void savesGoOnWhileAnOpenHangs()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("culto.nimbara"));
        StudioFixture desk;
        ProjectDesk &projects = desk.studio.projects();
        // A network share that has gone away. Nothing waits for it, not even the end of the test.
        projects.readFile = [](const QString &) -> QByteArray {
            std::promise<QByteArray>().get_future().wait_for(std::chrono::hours(1));
            return {};
        };
        projects.openProject(QStringLiteral("/red/viejo.nimbara"));
        QString refusal;
        try {
            projects.openProject(path);
        } catch (const Error &error) {
            refusal = error.text();
        }
        QCOMPARE(refusal,
            QStringLiteral("Espera a que termine de abrirse o guardarse el proyecto."));
        for (const char *title : { "uno", "dos", "tres" }) { // the last two while one is written
            desk.studio.stage().title = QLatin1String(title);
            projects.saveProject(path, 100);
        }
        QVERIFY(desk.runUntil([&] { return projects.lastPath() == path; }));
        QCOMPARE(fromJson(readProjectFile(path)).title, QStringLiteral("tres"));
    }

    void theLastSaveIsWrittenBeforeTheEnd()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("culto.nimbara"));
        {
            StudioFixture desk;
            for (const char *title : { "uno", "dos" }) {
                desk.studio.stage().title = QLatin1String(title);
                desk.studio.projects().saveProject(path, 100);
            }
        }
        QCOMPARE(fromJson(readProjectFile(path)).title, QStringLiteral("dos"));
    }

    void aLargeProjectOpens()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("grande.nimbara"));
        Project large;
        for (int scene = 0; scene < 100; ++scene) {
            std::vector<Layer> layers;
            for (int layer = 0; layer < 20; ++layer) {
                layers.push_back(newLayer(static_cast<LayerKind>(layer % 8)));
                layers.back().name = QString::number(layer);
                layers.back().path = folder.filePath(QStringLiteral("falta.png"));
                layers.back().uri = QStringLiteral("file:///falta/%1.mp4").arg(scene);
                if (layers.back().kind == LayerKind::Video && scene >= 10) {
                    layers.back().uri = QStringLiteral("ftp://falta");
                }
            }
            large.streams.push_back({ QString::number(scene), layers });
        }
        large.currentStreams = 99;
        large.hall = { defaultScene(true) };
        writeProjectFile(path, toJson(large));
        StudioFixture desk;
        QStringList warnings;
        desk.studio.projects().onOpened
            = [&](const Project &, const QStringList &told) { warnings = told; };
        desk.studio.projects().openProject(path);
        QVERIFY(desk.runUntil([&] { return !desk.studio.projects().lastPath().isEmpty(); }));
        const auto &scenes = desk.studio.stage().scenes.scenes(SceneSet::Streams);
        QCOMPARE(scenes.size(), 100U);
        QCOMPARE(scenes[99].layers.size(), 20U);
        QCOMPARE(desk.studio.stage().scenes.currentScene().name, QStringLiteral("99"));
        // Each image and video, and each screen where there is none.
        const auto told
            = [&](const char *reason) { return warnings.filter(QString::fromUtf8(reason)).size(); };
        QCOMPARE(told("Imagen inválida"), 300);
        QCOMPARE(told("URL multimedia"), 270);
        QVERIFY(told("No se pudo iniciar fuente") >= 30);
        QVERIFY(!scenes[0].layers[3].source);
    }

    void failuresChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text");
        QTest::newRow("version") << QByteArray("{\"version\":4,\"gain\":100}")
                                 << "Versión de proyecto inválida";
        QTest::newRow("gain") << QByteArray("{\"version\":3,\"gain\":201}")
                              << "Opciones de proyecto inválidas";
    }
    void failuresChangeNothing()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, text);
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("bad.nimbara")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.setLayers({ colorLayer(Qt::red) });
        desk.studio.program().take();
        QString failure;
        desk.studio.projects().onFailed = [&](const QString &told) { failure = told; };
        desk.studio.projects().openProject(file.fileName());
        QVERIFY(desk.runUntil([&] { return !failure.isEmpty(); }));
        QCOMPARE(failure, text);
        desk.frame();
        QCOMPARE(centre(desk.pictures.streams), QColor(Qt::red));
        QCOMPARE(desk.studio.stage().scenes.currentScene().layers.size(), 1U);
    }

    void refusedWhileAnOutputRuns()
    {
        const QTemporaryDir folder;
        StudioFixture desk;
        desk.studio.outputs().recording().start(folder.filePath(QStringLiteral("r.webm")),
            desk.studio.stage().streamFrame());
        QVERIFY_EXCEPTION_THROWN(desk.studio.projects().openProject(QStringLiteral("x")), Error);
        QVERIFY_EXCEPTION_THROWN(desk.studio.projects().saveProject(QStringLiteral("x"), 100),
            Error);
    }
};

NIMBARA_TEST(ProjectDeskTest)
#include "project_desk_test.moc"
