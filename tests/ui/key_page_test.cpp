#include "base/i18n.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/kit/key_map.h"
#include "ui/shell/key_page.h"

#include <QCheckBox>
#include <QPlainTextEdit>
#include <QSlider>
#include <QTabWidget>
#include <QTableWidget>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct KeyDesk : Desk {
    bool open()
    {
        QTest::keyClick(&window, Qt::Key_F12);
        page = find<QDialog>("keyPage");
        table = find<QTableWidget>("keyTable");
        return QTest::qWaitForWindowActive(page);
    }
    /// Chooses the action, presses the button and then the keys.
    void change(KeyAction action, const char *button, std::initializer_list<QKeyCombination> keys)
    {
        table->setCurrentCell(static_cast<int>(action), 0);
        press(button);
        for (const QKeyCombination key : keys) {
            QTest::keyClick(page->focusWidget(), key.key(), key.keyboardModifiers());
        }
    }
    QString shown(KeyAction action) { return table->item(static_cast<int>(action), 2)->text(); }
    QString note() { return find<QLabel>("keyNote")->text(); }
    int scene() { return int(document().project().currentPlace(document().editing())); }
    bool isOnAir() { return stage().program.streams() != nullptr; }

    QDialog *page = nullptr;
    QTableWidget *table = nullptr;
};

} // namespace

/// What is done by key, and how that is changed.
class KeyPageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { settings().clear(); }
    void cleanup()
    {
        nimbara_i18n::language() = u"es"_s;
        settings().clear();
    }

    void noKeyMeansTwoThingsFromTheStart()
    {
        const KeyMap keys;
        for (const KeyRow &row : keyTable()) {
            for (const QKeySequence &key : keys.keys(row.action)) {
                QVERIFY2(!keys.holder(key, row.action), row.id);
            }
        }
    }

    void theGuidesHaveTheSameTable()
    {
        for (const auto &[language, guide] :
            { std::pair { "es", "../../docs/guia.md" }, { "en", "../../docs/guide.md" } }) {
            nimbara_i18n::language() = QLatin1String(language);
            QFile file(QFINDTESTDATA(guide));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(file.readAll());
            for (const KeyRow &row : keyTable()) {
                const QString keys = keyText(defaultKeys(row.action));
                const QString line = u"\n| %1 | %2 | %3 |\n"_s.arg(keys,
                    keyActionText(row.action),
                    keyPlaceText(row.place));
                QVERIFY2(keys.isEmpty() || text.contains(line), qPrintable(line));
            }
        }
    }

    void aKeyIsChangedAndKept()
    {
        {
            KeyDesk desk;
            QVERIFY(desk.isActive() && desk.open());
            desk.change(KeyAction::Take, "changeKeys", { Qt::CTRL | Qt::Key_T });
            QCOMPARE(desk.shown(KeyAction::Take), u"Ctrl+T"_s);
            desk.change(KeyAction::Passages, "changeKeys", { Qt::Key_F8 });
            QCOMPARE(desk.find<QWidget>("openPassages")->toolTip(), u"Pasajes de hoy (F8)"_s);
            desk.change(KeyAction::Copy, "addKeys", { Qt::SHIFT | Qt::Key_F5 });
            QCOMPARE(desk.shown(KeyAction::Copy), u"Ctrl+C, Mayús+F5"_s);
            desk.change(KeyAction::Redo, "removeKeys", {});
            QVERIFY(desk.shown(KeyAction::Redo).isEmpty());
        }
        KeyDesk desk;
        QVERIFY(desk.isActive());
        QTest::keyClick(&desk.window, Qt::Key_Space);
        QVERIFY(!desk.isOnAir());
        QTest::keyClick(&desk.window, Qt::Key_T, Qt::ControlModifier);
        QVERIFY(desk.isOnAir());
        QVERIFY(desk.open());
        desk.press("resetKeys");
        QCOMPARE(desk.shown(KeyAction::Take), u"Espacio"_s);
        QVERIFY(settings().allKeys().filter(u"keys/"_s).isEmpty());
    }

    void aTakenKeyIsToldWithTheNameOfWhatHasIt()
    {
        KeyDesk desk;
        QVERIFY(desk.isActive() && desk.open());
        desk.change(KeyAction::Rename, "changeKeys", { Qt::Key_Space });
        QVERIFY2(desk.note().contains(u"Espacio ya es de “Preparación al aire”"_s),
            qPrintable(desk.note()));
        QVERIFY(!desk.isOnAir()); // it means nothing while it is asked for
        QTest::keyClick(desk.page->focusWidget(), Qt::Key_Escape);
        QCOMPARE(desk.shown(KeyAction::Rename), u"Ctrl+R"_s);
        QVERIFY(desk.page->isVisible());
        // A clicker's keys are apart from the window's.
        desk.change(KeyAction::ClickerBlack, "changeKeys", { Qt::Key_F3 });
        QCOMPARE(desk.shown(KeyAction::ClickerBlack), u"F3"_s);
        QVERIFY2(
            desk.note().endsWith(u" F3 es también de “Versículo dicho a PREVIEW” (Ventana)."_s),
            qPrintable(desk.note()));
    }

    void aKeyThatIsNoTextWorksWhileSomebodyTypes()
    {
        KeyDesk desk;
        QVERIFY(desk.isActive() && desk.open());
        desk.change(KeyAction::Take, "addKeys", { Qt::Key_F9 });
        desk.page->close();
        QVERIFY(desk.isActive());
        auto *title = desk.find<QLineEdit>("title");
        title->setFocus();
        QTest::keyClick(title, Qt::Key_Space);
        QVERIFY(!desk.isOnAir());
        QTest::keyClick(title, Qt::Key_F9);
        QVERIFY(desk.isOnAir());
        QTest::keyClick(title, Qt::Key_4, Qt::ControlModifier); // and goes on in that page
        QTest::keyClick(desk.window.focusWidget(), Qt::Key_Tab);
        QWidget *page = desk.find<QTabWidget>("tabs")->widget(3);
        QVERIFY(page->isVisible() && page->isAncestorOf(desk.window.focusWidget()));
    }

    /// In the window itself, in a box in front of it, and never into what is typed.
    void aClickerReachesTheStudio()
    {
        KeyDesk desk;
        QVERIFY(desk.isActive());
        QTest::keyClick(&desk.window, Qt::Key_Space);
        QVERIFY(desk.isOnAir() && desk.open());
        QTest::keyClick(desk.page, Qt::Key_B);
        QVERIFY(desk.isOnAir()); // not listened to yet
        desk.find<QCheckBox>("listenToClicker")->click();
        QVERIFY(settings().value(u"clicker_keys"_s).toBool());
        desk.enter("title", {});
        auto *title = desk.find<QLineEdit>("title");
        title->setFocus();
        QTest::keyClick(title, Qt::Key_Period);
        QVERIFY(desk.isOnAir());
        desk.table->setFocus();
        QTest::keyClick(desk.table, Qt::Key_B); // looks for a row
        QVERIFY(desk.isOnAir());
        auto *box = desk.find<QCheckBox>("listenToClicker");
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Period);
        QTRY_VERIFY(!desk.isOnAir());

        // A verse of two pages.
        Layer verse = desk.document().newVerseLayer();
        verse.text = u"palabra "_s.repeated(400);
        desk.setLayers({ verse });
        desk.select(0);
        const auto page = [&desk] { return desk.layers()[0].page; };
        desk.table->setFocus();
        QTest::keyClick(desk.table, Qt::Key_PageDown);
        QTRY_COMPARE(page(), 1);
        QTest::keyClick(desk.table, Qt::Key_Left); // the table's own
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Up);
        QTRY_COMPARE(page(), 0);
        auto *opacity = desk.find<QSlider>("opacity");
        opacity->setFocus();
        QTest::keyClick(opacity, Qt::Key_Right);
        QCOMPARE(page(), 0);

        // The verse on air goes before what is prepared behind it.
        desk.window.studio().program().take();
        desk.setLayers({ colorLayer(Qt::black), desk.document().newVerseLayer() });
        const auto pageOnAir = [&desk] { return desk.stage().program.streams()->layers[0].page; };
        QDialog front(&desk.window); // one that has come by itself
        auto *line = new QLineEdit(&front);
        front.show();
        for (QWidget *focused : std::initializer_list<QWidget *> { box, title, line }) {
            focused->setFocus(); // the line of a text field has no page to turn
            const int before = pageOnAir();
            QTest::keyClick(focused, before == 0 ? Qt::Key_PageDown : Qt::Key_PageUp);
            QTRY_COMPARE(pageOnAir(), 1 - before);
        }
    }
};

NIMBARA_TEST(KeyPageTest)
#include "key_page_test.moc"
