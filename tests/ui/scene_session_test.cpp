#include "app/i18n.h"
#include "compositor/composer.h"
#include "support/clips.h"
#include "support/test_registry.h"
#include "ui/canvas.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSet>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct SessionDesk : Desk {
    Scene &scene() { return window.studio().stage().scenes.currentScene(); }
    void add(int entry) { find<QPushButton>("addSource")->menu()->actions().at(entry)->trigger(); }
    void check(const char *name, bool on) { find<QCheckBox>(name)->setChecked(on); }
    void select(int row) { find<QListWidget>("layers")->setCurrentRow(row); }
    QStringList listed()
    {
        const auto *list = find<QListWidget>("layers");
        QStringList texts;
        for (int row = 0; row < list->count(); ++row) {
            texts << list->item(row)->text();
        }
        return texts;
    }
    /// The scene as PREVIEW shows it, with what moves standing still: the camera is one grey
    /// picture, a clip has played to its end, and the screen shows nothing.
    QImage still()
    {
        Scene frozen = scene();
        for (Layer &layer : frozen.layers) {
            if (layer.kind == LayerKind::Screen) {
                layer.source.reset();
            }
        }
        auto grey = std::make_shared<Frame>(64, 36);
        std::fill(grey->pixels.begin(), grey->pixels.end(), std::uint8_t { 128 });
        Composer composer(std::make_shared<PaintCache>());
        return composer.compose(
            { frozen, {}, false, landscapeSize, false, true, grey, Captions {} });
    }
    bool clipsHaveEnded()
    {
        const auto &layers = scene().layers;
        return std::all_of(layers.begin(), layers.end(), [](const Layer &layer) {
            return layer.kind != LayerKind::Video
                || (layer.source && layer.source->ended() && layer.source->frame());
        });
    }
};

} // namespace

/// A whole scene, from nothing to next Sunday, on a real display.
class SceneSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    void builtSavedAndOpenedAgain_data()
    {
        QTest::addColumn<QString>("language");
        QTest::newRow("Spanish") << u"es"_s;
        QTest::newRow("English") << u"en"_s;
    }
    void builtSavedAndOpenedAgain()
    {
        QFETCH(QString, language);
        nimbara_i18n::language() = language;
        const QTemporaryDir folder;
        const QString picture = folder.filePath(u"logo.png"_s);
        QImage logo(80, 60, QImage::Format_RGB32);
        logo.fill(QColor(250, 220, 20));
        QVERIFY(logo.save(picture));
        const QString project = folder.filePath(u"culto.nimbara"_s);
        SessionDesk desk;

        // Every kind, each from the menu.
        desk.press("deleteLayer");
        QVERIFY(desk.scene().layers.empty());
        desk.dialogs->files = { picture, clip({}) };
        for (const int entry : { 0, 1, 2, 3, 5, 6, 7, 8 }) {
            const auto before = desk.scene().layers.size();
            desk.add(entry);
            QTRY_COMPARE_WITH_TIMEOUT(desk.scene().layers.size(), before + 1, 30'000);
        }
        const auto kindsThere = [&] {
            QSet<int> kinds;
            for (const Layer &layer : desk.scene().layers) {
                kinds << static_cast<int>(layer.kind);
            }
            return kinds.size();
        };
        QCOMPARE(kindsThere(), 8);
        QVERIFY2(desk.dialogs->asked.size() == 2, qPrintable(desk.dialogs->asked.join(u'\n')));
        desk.add(7); // a second one is refused
        QCOMPARE(desk.scene().layers.size(), 8U);

        style(desk);
        order(desk);
        save(desk, project);
        const QStringList listed = desk.listed();
        QTRY_VERIFY_WITH_TIMEOUT(desk.clipsHaveEnded(), 60'000);
        const QImage before = desk.still();

        // Next Sunday.
        desk.dialogs->answers = { true };
        desk.press("newScene"); // cancelled
        desk.press("deleteScene");
        QVERIFY(desk.listed() != listed);
        desk.dialogs->files = { project };
        desk.press("openProject");
        QTRY_COMPARE_WITH_TIMEOUT(desk.listed(), listed, 30'000);
        QTRY_VERIFY_WITH_TIMEOUT(desk.clipsHaveEnded(), 60'000);
        QVERIFY(desk.scene().layers != std::vector<Layer> {});
        const QImage after = desk.still();
        QCOMPARE(after, before);
        QVERIFY(after.pixelColor(100, 100) != QColor(Qt::black));
        QVERIFY(desk.window.studio().stage().program.streams().layers.empty());
    }

private:
    /// Each layer gets something of its own through its panel.
    static void style(SessionDesk &desk)
    {
        const auto count = static_cast<int>(desk.scene().layers.size());
        for (int row = 0; row < count; ++row) {
            desk.select(row);
            const LayerKind kind
                = desk.scene().layers[desk.find<Canvas>("canvas")->selected()].kind;
            auto *name = desk.find<QLineEdit>("layerName");
            name->selectAll();
            QTest::keyClicks(name, u"Capa %1"_s.arg(row));
            desk.find<QSlider>("opacity")->setValue(95 - row);
            desk.find<QDoubleSpinBox>("positionW")->setValue(20 + row * 5);
            desk.find<QDoubleSpinBox>("positionX")->setValue(row * 4);
            desk.find<QDoubleSpinBox>("positionY")->setValue(row * 6);
            if (isPicture(kind)) {
                desk.check("cover", true);
            }
            if (isText(kind)) {
                desk.find<QSpinBox>("textSize")->setValue(30 + row);
                desk.check("bold", false);
                desk.dialogs->colors = { QColor(10, 200, 30), QColor(90, 0, 0, 77) };
                desk.press("textColor");
                desk.press("backgroundColor");
                desk.find<QComboBox>("textAlign")->setCurrentIndex(row % 3);
            }
            if (kind == LayerKind::Text) {
                desk.find<QPlainTextEdit>("layerText")->setPlainText(u"Bienvenidos\nWelcome"_s);
            }
            if (kind == LayerKind::Color) {
                desk.dialogs->colors = { QColor(1, 99, 150) };
                desk.press("fillColor");
            }
        }
    }

    /// Layers change places, one is hidden, and a copy of the scene loses one.
    static void order(SessionDesk &desk)
    {
        desk.select(0);
        desk.press("layerDown");
        desk.select(6);
        desk.press("layerUp");
        desk.find<QListWidget>("layers")->item(3)->setCheckState(Qt::Unchecked);
        desk.press("duplicateScene");
        desk.select(2);
        desk.press("deleteLayer");
        desk.find<QComboBox>("scenes")->setCurrentIndex(0);
    }

    static void save(SessionDesk &desk, const QString &path)
    {
        desk.dialogs->files = { path };
        desk.press("saveProject");
        QTRY_COMPARE_WITH_TIMEOUT(desk.window.studio().projects().lastPath(), path, 30'000);
    }
};

NIMBARA_TEST(SceneSessionTest)
#include "scene_session_test.moc"
