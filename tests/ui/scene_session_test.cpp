#include "base/i18n.h"
#include "support/clips.h"
#include "support/test_registry.h"
#include "ui/session_desk.h"

#include <QSet>
#include <QSlider>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// A whole scene, from nothing to next Sunday, on a real display.
class SceneSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    void builtSavedAndOpenedAgain()
    {
        for (const char *language : { "es", "en" }) {
            const RowName named(language);
            nimbara_i18n::language() = QLatin1String(language);
            session();
        }
    }

private:
    static void session()
    {
        const QTemporaryDir folder;
        const QString picture = folder.filePath(u"logo.png"_s);
        QImage logo(80, 60, QImage::Format_RGB32);
        logo.fill(QColor(250, 220, 20));
        QVERIFY(logo.save(picture));
        const QString project = folder.filePath(u"culto.nimbara"_s);
        SessionDesk desk;
        QVERIFY(desk.isActive());

        // Every kind, each from the menu.
        desk.press("deleteLayer");
        QVERIFY(desk.layers().empty());
        desk.dialogs->files = { picture, clip({}) };
        for (const int entry : { 0, 1, 2, 3, 5, 6, 7, 8 }) {
            const auto before = desk.layers().size();
            desk.add(entry);
            QTRY_COMPARE(desk.layers().size(), before + 1);
        }
        QSet<LayerKind> kinds;
        for (const Layer &layer : desk.layers()) {
            kinds << layer.kind;
        }
        QCOMPARE(kinds.size(), 8);
        QVERIFY2(desk.dialogs->asked.size() == 2, qPrintable(desk.dialogs->asked.join(u'\n')));
        desk.add(7); // a second one is refused
        QCOMPARE(desk.layers().size(), 8U);

        order(desk);
        QTest::keyClicks(desk.focused<QLineEdit>("title"), u"Bienvenidos"_s);
        desk.turnSwitch("band");
        desk.find<QSlider>("gain")->setValue(120);
        save(desk, project);
        const QStringList listed = desk.listed();
        const auto layers = contents(*desk.document().currentScene());

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
        QTRY_COMPARE(desk.listed(), listed);
        QVERIFY(contents(*desk.document().currentScene()) == layers);
        QCOMPARE(desk.find<QComboBox>("scenes")->count(), 2);
        QCOMPARE(desk.find<QSlider>("gain")->value(), 120);
        QCOMPARE(desk.document().project().title, u"Bienvenidos"_s);
        QVERIFY(desk.document().project().band);
        QVERIFY(!desk.stage().program.streams()); // black until TAKE
        QCOMPARE(desk.dialogs->asked.size(), boxes); // and no warning
    }

    /// Layers change places, one is hidden, and a copy of the scene loses one.
    static void order(SessionDesk &desk)
    {
        QStringList front = desk.names();
        desk.select(0);
        desk.press("layerDown");
        desk.select(6);
        desk.press("layerUp");
        std::swap(front[0], front[1]);
        std::swap(front[5], front[6]);
        QCOMPARE(desk.names(), front);
        desk.select(3);
        desk.keys(desk.focused<QListWidget>("layers"), Qt::Key_Return);
        QCOMPARE(desk.listed().filter(u"🚫  "_s), desk.listed().mid(3, 1));
        desk.press("duplicateScene");
        desk.select(2);
        desk.press("deleteLayer");
        QCOMPARE(desk.names(), front.mid(0, 2) + front.mid(3));
        desk.choose("scenes", 0);
        QCOMPARE(desk.names(), front);
    }

    static void save(SessionDesk &desk, const QString &path)
    {
        desk.dialogs->files = { path };
        desk.press("saveProject");
        QTRY_COMPARE(desk.window.studio().projects().lastPath(), path);
    }
};

NIMBARA_TEST(SceneSessionTest)
#include "scene_session_test.moc"
