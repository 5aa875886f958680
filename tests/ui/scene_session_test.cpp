#include "base/i18n.h"
#include "compositor/scene/composer.h"
#include "support/clips.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/canvas.h"

#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSet>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Driven by mouse and keys alone.
struct SessionDesk : Desk {
    template <typename Widget> Widget *focused(const char *name)
    {
        auto *widget = find<Widget>(name);
        widget->setFocus();
        return widget;
    }
    void keys(QWidget *widget, Qt::Key key, int times = 1)
    {
        for (int i = 0; i < times; ++i) {
            QTest::keyClick(widget, key);
        }
    }
    /// Chooses an entry of the menu of "+ Fuente".
    void add(int entry)
    {
        auto *button = focused<QPushButton>("addSource");
        QTimer::singleShot(0, button->menu(), [this, menu = button->menu(), entry] {
            keys(menu, Qt::Key_Down, entry); // Return opened it at its first
            keys(menu, Qt::Key_Return);
        });
        keys(button, Qt::Key_Return);
    }
    void turnSwitch(const char *name) { keys(focused<QCheckBox>(name), Qt::Key_Return); }
    void type(const char *field, int value)
    {
        auto *spin = focused<QAbstractSpinBox>(field);
        spin->selectAll();
        QTest::keyClicks(spin, QString::number(value));
        keys(spin, Qt::Key_Tab);
    }
    void choose(const char *list, int entry)
    {
        auto *choices = focused<QComboBox>(list);
        keys(choices, Qt::Key_Home);
        keys(choices, Qt::Key_Down, entry);
    }
    void select(int row)
    {
        auto *list = find<QListWidget>("layers");
        list->scrollToItem(list->item(row));
        const QPoint middle = list->visualItemRect(list->item(row)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle);
    }
    const Layer &selectedLayer() { return layers().at(static_cast<std::size_t>(selected())); }
    QStringList listed()
    {
        const auto *list = find<QListWidget>("layers");
        QStringList texts;
        for (int row = 0; row < list->count(); ++row) {
            texts << list->item(row)->text();
        }
        return texts;
    }
    /// The digits that end the layers' names, front layer first.
    QString order()
    {
        QString digits;
        for (auto layer = layers().rbegin(); layer != layers().rend(); ++layer) {
            digits += layer->name.back();
        }
        return digits;
    }
    /// The scene as PREVIEW shows it, with what moves standing still: the camera is one grey
    /// picture, a clip has played to its end, and the screen shows nothing.
    QImage still()
    {
        LiveScene frozen = window.studio().sources().live(document().currentScene());
        for (std::size_t place = 0; place < layers().size(); ++place) {
            if (layers()[place].kind == LayerKind::Screen) {
                frozen.layers[place].source.reset();
            }
        }
        auto grey = std::make_shared<Frame>(64, 36);
        std::fill(grey->pixels.begin(), grey->pixels.end(), std::uint8_t { 128 });
        Composer composer(std::make_shared<PaintCache>());
        return composer.compose(
            { frozen.scene, frozen.pictures(grey), {}, false, landscapeSize, false, true, {} });
    }
    bool clipsHaveEnded()
    {
        return std::all_of(layers().begin(), layers().end(), [this](const Layer &layer) {
            const MediaPtr source = window.studio().sources().pool().find(layer);
            return layer.kind != LayerKind::Video || (source && source->ended() && source->frame());
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
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));

        // Every kind, each from the menu.
        desk.press("deleteLayer");
        QVERIFY(desk.layers().empty());
        desk.dialogs->files = { picture, clip({}) };
        for (const int entry : { 0, 1, 2, 3, 5, 6, 7, 8 }) {
            const auto before = desk.layers().size();
            desk.add(entry);
            QTRY_COMPARE_WITH_TIMEOUT(desk.layers().size(), before + 1, 30'000);
        }
        QSet<LayerKind> kinds;
        for (const Layer &layer : desk.layers()) {
            kinds << layer.kind;
        }
        QCOMPARE(kinds.size(), 8);
        QVERIFY2(desk.dialogs->asked.size() == 2, qPrintable(desk.dialogs->asked.join(u'\n')));
        desk.add(7); // a second one is refused
        QCOMPARE(desk.layers().size(), 8U);

        style(desk);
        order(desk);
        QTest::keyClicks(desk.focused<QLineEdit>("title"), u"Bienvenidos"_s);
        desk.turnSwitch("band");
        desk.find<QSlider>("gain")->setValue(120);
        save(desk, project);
        const QStringList listed = desk.listed();
        QTRY_VERIFY_WITH_TIMEOUT(desk.clipsHaveEnded(), 60'000);
        const auto layers = contents(*desk.document().currentScene());
        const QImage before = desk.still();

        // Next Sunday.
        desk.dialogs->answers = { true };
        desk.press("newScene"); // cancelled
        desk.press("deleteScene");
        desk.press("take");
        desk.find<QLineEdit>("title")->clear();
        desk.turnSwitch("band");
        desk.find<QSlider>("gain")->setValue(90);
        QVERIFY(desk.listed() != listed);
        desk.dialogs->files = { project };
        desk.press("openProject");
        const auto boxes = desk.dialogs->asked.size();
        QTRY_COMPARE_WITH_TIMEOUT(desk.listed(), listed, 30'000);
        QTRY_VERIFY_WITH_TIMEOUT(desk.clipsHaveEnded(), 60'000);
        const QImage after = desk.still();
        QCOMPARE(after, before);
        QVERIFY(after.pixelColor(100, 100) != QColor(Qt::black));
        QVERIFY(contents(*desk.document().currentScene()) == layers);
        QCOMPARE(desk.find<QComboBox>("scenes")->count(), 2);
        QCOMPARE(desk.find<QSlider>("gain")->value(), 120);
        QCOMPARE(desk.document().project().title, u"Bienvenidos"_s);
        QVERIFY(desk.document().project().band);
        QVERIFY(!desk.stage().program.streams()); // black until TAKE
        QCOMPARE(desk.dialogs->asked.size(), boxes); // and no warning
    }

private:
    /// Each layer gets something of its own through its panel.
    static void style(SessionDesk &desk)
    {
        const auto count = static_cast<int>(desk.layers().size());
        for (int row = 0; row < count; ++row) {
            desk.select(row);
            const LayerKind kind = desk.selectedLayer().kind;
            auto *name = desk.focused<QLineEdit>("layerName");
            name->selectAll();
            QTest::keyClicks(name, u"Capa %1"_s.arg(row));
            desk.keys(desk.focused<QSlider>("opacity"), Qt::Key_Left, 5 + row);
            desk.type("positionW", 20 + row * 5);
            desk.type("positionX", row * 4);
            desk.type("positionY", row * 6);
            if (isPicture(kind)) {
                desk.turnSwitch("cover");
            }
            if (isText(kind)) {
                desk.type("textSize", 30 + row);
                desk.turnSwitch("bold");
                desk.dialogs->colors = { QColor(10, 200, 30), QColor(90, 0, 0, 77) };
                desk.press("textColor");
                desk.press("backgroundColor");
                QCoreApplication::processEvents(); // the questions come after the clicks
                desk.choose("textAlign", row % 3);
            }
            if (kind == LayerKind::Text) {
                auto *text = desk.focused<QPlainTextEdit>("layerText");
                text->selectAll();
                QTest::keyClicks(text, u"Bienvenidos"_s);
                desk.keys(text, Qt::Key_Return);
                QTest::keyClicks(text, u"Welcome"_s);
                QCOMPARE(desk.selectedLayer().text, u"Bienvenidos\nWelcome"_s);
            }
            if (kind == LayerKind::Color) {
                desk.dialogs->colors = { QColor(1, 99, 150) };
                desk.press("fillColor");
                QCoreApplication::processEvents();
            }
        }
        const Layer &front = desk.layers().back();
        QCOMPARE(front.name, u"Capa 0"_s);
        QCOMPARE(front.opacity, 0.95);
        QCOMPARE(front.w, 0.2);
    }

    /// Layers change places, one is hidden, and a copy of the scene loses one.
    static void order(SessionDesk &desk)
    {
        QCOMPARE(desk.order(), u"01234567"_s);
        desk.select(0);
        desk.press("layerDown");
        desk.select(6);
        desk.press("layerUp");
        QCOMPARE(desk.order(), u"10234657"_s);
        desk.select(3);
        desk.keys(desk.focused<QListWidget>("layers"), Qt::Key_Return);
        QCOMPARE(desk.listed().filter(QString::fromUtf8("🚫  ")), desk.listed().mid(3, 1));
        desk.press("duplicateScene");
        desk.select(2);
        desk.press("deleteLayer");
        QCOMPARE(desk.order(), u"1034657"_s);
        desk.choose("scenes", 0);
        QCOMPARE(desk.order(), u"10234657"_s);
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
