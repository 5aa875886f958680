#include "document/scene_ops.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QImage>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;

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

private Q_SLOTS:
    void reachesTheSceneThatAskedForIt()
    {
        StudioFixture desk;
        SceneSets &scenes = desk.studio.stage().scenes;
        int added = 0;
        desk.studio.images().onAdded = [&](std::int32_t) { ++added; };
        desk.studio.images().add(picture("a.png", Qt::red));
        newScene(scenes, QStringLiteral("Otra")); // the operator has gone on
        const auto &first = scenes.scenes(SceneSet::Streams);
        QVERIFY(desk.runUntil([&] { return first[0].layers.size() == 2; }));
        QCOMPARE(first[0].layers[1].name, QStringLiteral("a.png"));
        QVERIFY(first[0].layers[1].image);
        QCOMPARE(first[1].layers.size(), 1U);
        QCOMPARE(added, 0); // nothing to select in PREVIEW
        desk.studio.images().add(picture("b.png", Qt::blue));
        QVERIFY(desk.runUntil([&] { return added == 1; }));
        QCOMPARE(scenes.currentScene().layers.size(), 2U);
    }

    void changesTheLayerWhereverItIsThen()
    {
        StudioFixture desk;
        int changed = -1;
        desk.studio.images().onChanged = [&](std::int32_t layer) { changed = layer; };
        Layer image = newLayer(LayerKind::Image);
        image.path = QStringLiteral("vieja.png");
        desk.setLayers({ image, colorLayer(Qt::red) });
        desk.studio.images().change(0, picture("a.png", Qt::red));
        moveLayer(desk.scene(), 0, 1);
        QVERIFY(desk.runUntil([&] { return changed == 1; }));
        const auto &layers = desk.scene().layers;
        QCOMPARE(layers[1].name, QStringLiteral("a.png"));
        QCOMPARE(layers[0].kind, LayerKind::Color);
    }

    void nothingHappensWhenThePlaceIsGone()
    {
        Layer image = newLayer(LayerKind::Image);
        image.path = QStringLiteral("vieja.png");
        for (const bool layerDeleted : { true, false }) {
            StudioFixture desk;
            bool told = false;
            desk.studio.images().onAdded = [&](std::int32_t) { told = true; };
            desk.studio.images().onChanged = [&](std::int32_t) { told = true; };
            desk.setLayers({ image });
            if (layerDeleted) {
                desk.studio.images().change(0, picture("a.png", Qt::red));
                desk.setLayers({ colorLayer(Qt::red) });
            } else {
                desk.studio.images().add(picture("a.png", Qt::red));
                ++desk.studio.stage().projects; // another one was opened
            }
            QVERIFY(desk.runUntil([&] { return !desk.studio.images().isDecoding(); }));
            QCOMPARE(desk.scene().layers.size(), 1U);
            QVERIFY(!told);
            QVERIFY(!desk.scene().layers[0].image);
        }
    }
};

NIMBARA_TEST(ImageIntakeTest)
#include "image_intake_test.moc"
