#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/shell/check_dialog.h"

#include <QComboBox>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QTimeEdit>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// What a new operator begins with: the first steps, ready scenes, clocks and styles.
class FirstMinutesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { settings().clear(); }
    void cleanup() { settings().clear(); }

    void aReadySceneIsOneStep()
    {
        Desk desk;
        auto *button = desk.find<QPushButton>("sceneTemplates");
        const Scenes before = desk.document().editedScenes();
        for (QAction *entry : button->menu()->actions()) {
            const std::size_t count = desk.document().editedScenes().size();
            entry->trigger();
            QCOMPARE(desk.document().editedScenes().size(), count + 1);
            QVERIFY(desk.layers().size() > 1);
            desk.document().undo();
            QVERIFY(desk.document().editedScenes() == before);
        }
    }

    /// Every line of the check with much to say: its buttons stay on a low screen.
    void theCheckFitsALowScreen()
    {
        Desk desk;
        ServiceCheck check(desk.window.studio());
        CheckDialog dialog(check, *desk.dialogs, &desk.window);
        dialog.show();
        const Message found = Message::verbatim(u"palabra "_s.repeated(20));
        Q_EMIT check.finished(
            std::vector<CheckLine>(14, { CheckLine::State::Bad, "Reloj", found }));
        dialog.resize(dialog.width(), 540);
        QTRY_COMPARE(dialog.height(), 540);
        for (const char *name : { "checkAgain", "saveCheck", "closeCheck" }) {
            const auto *button = dialog.findChild<QPushButton *>(QLatin1String(name));
            QVERIFY(dialog.rect().contains(button->geometry()));
        }
        const auto *page = dialog.findChild<QScrollArea *>();
        QTRY_VERIFY(page->verticalScrollBar()->maximum() > 0);
    }

    void theCountdownIsDrivenFromThePanel()
    {
        Desk desk;
        desk.setLayers({ newLayer(LayerKind::Clock) });
        desk.select(0);
        auto *toggle = desk.find<QPushButton>("clockToggle");
        QVERIFY(!toggle->isVisibleTo(&desk.window)); // a clock has none
        desk.find<QComboBox>("clockShows")->setCurrentIndex(clock_shows::untilTime);
        desk.find<QTimeEdit>("clockUntil")->setTime(QTime(18, 5));
        desk.find<QComboBox>("clockShows")->setCurrentIndex(clock_shows::duration);
        desk.find<QTimeEdit>("clockDuration")->setTime(QTime(1, 0, 9));
        QTest::keyClicks(desk.find<QLineEdit>("clockAtZero"), u"Ya"_s);
        Layer wanted = desk.layers()[0];
        wanted.clockShows = clock_shows::duration;
        wanted.untilMinute = 18 * 60 + 5;
        wanted.duration = 3609;
        wanted.text = u"Ya"_s;
        QVERIFY(desk.layers()[0] == wanted);
        QVERIFY(toggle->isVisibleTo(&desk.window));

        const QString undo = desk.document().undoName();
        Countdowns &countdowns = desk.stage().countdowns;
        desk.press("clockToggle");
        QVERIFY(countdowns.isRunning(wanted));
        QCOMPARE(toggle->text(), u"Pausar"_s);
        desk.press("clockToggle");
        QVERIFY(!countdowns.isRunning(wanted));
        desk.press("clockReset");
        QVERIFY(countdowns.reading().elapsedMs.empty());
        QCOMPARE(desk.document().undoName(), undo); // none of it is an edit
        desk.find<QTimeEdit>("clockDuration")->setTime(QTime(0, 0, 1));
        desk.press("clockToggle");
        QTRY_COMPARE(toggle->text(), u"Iniciar"_s); // by itself, once it has run out
    }

    void aStyleIsKeptFollowedAndRemovedInThePanel()
    {
        Desk desk;
        desk.setLayers({ newLayer(LayerKind::Text), newLayer(LayerKind::Clock) });
        const auto *menu = desk.find<QPushButton>("textStyle")->menu();
        const auto entry = [menu](const QString &text) {
            const QList<QAction *> all = menu->actions();
            return *std::find_if(all.begin(), all.end(), [&text](const QAction *each) {
                return each->text() == text;
            });
        };
        desk.select(0);
        QVERIFY(!entry(u"Eliminar estilo"_s)->isEnabled());
        desk.dialogs->texts = { u"Grande"_s };
        entry(u"Guardar como estilo..."_s)->trigger();
        QTRY_COMPARE(desk.layers()[0].style, u"Grande"_s);
        QVERIFY(entry(u"Grande"_s)->isChecked());
        desk.select(1);
        QVERIFY(entry(u"Sin estilo"_s)->isChecked());
        entry(u"Grande"_s)->trigger();
        QCOMPARE(desk.layers()[1].style, u"Grande"_s);
        auto *size = desk.find<QSpinBox>("textSize");
        QCOMPARE(size->value(), desk.layers()[0].size);
        size->setValue(77);
        QCOMPARE(desk.layers()[0].size, 77); // change once, changes everywhere
        desk.document().undo();
        QCOMPARE(desk.layers()[0].size, newLayer(LayerKind::Text).size);
        entry(u"Sin estilo"_s)->trigger();
        size->setValue(77);
        desk.dialogs->answers = { false, true };
        for (const int kept : { newLayer(LayerKind::Text).size, 77 }) { // it was not asked
            desk.dialogs->texts = { u" Grande"_s };
            entry(u"Guardar como estilo..."_s)->trigger();
            QTRY_VERIFY(desk.dialogs->asked.join(u' ').contains(u"“Grande”"_s));
            QTRY_COMPARE(desk.layers()[0].size, kept);
            desk.dialogs->asked.clear();
        }
        entry(u"Eliminar estilo"_s)->trigger();
        QVERIFY(desk.layers()[0].style.isEmpty() && desk.layers()[1].style.isEmpty());
    }

    void theFirstStepsLeadAndStayClosed()
    {
        {
            Desk desk;
            const auto *bar = desk.find<QWidget>("firstSteps");
            QVERIFY(bar->isVisible());
            const auto *tabs = desk.find<QTabWidget>("tabs");
            for (const auto &[step, tab] : { std::pair { "stepCamera", 1 },
                     { "stepRecording", 3 },
                     { "stepSound", 1 },
                     { "stepDestination", 3 },
                     { "stepHall", 1 } }) {
                desk.showTab(0);
                desk.press(step);
                QCOMPARE(tabs->currentIndex(), tab);
            }
            const auto *scene = desk.find<QPushButton>("stepScene");
            QVERIFY(scene->text().startsWith(u'○'));
            desk.press("stepScene");
            QCOMPARE(tabs->currentIndex(), 0);
            auto *menu = desk.find<QPushButton>("sceneTemplates")->menu();
            QVERIFY(menu->isVisible());
            menu->actions()[0]->trigger();
            menu->close();
            QTRY_VERIFY(scene->text().startsWith(u'✓'));
            desk.press("closeFirstSteps");
            QVERIFY(!bar->isVisible());
        }
        Desk desk;
        const auto *bar = desk.find<QWidget>("firstSteps");
        QVERIFY(!bar->isVisible());
        desk.window.resize(1024, 538);
        desk.showTab(1);
        desk.press("showFirstSteps");
        QVERIFY(bar->isVisible()); // it was asked for, in a low window too
        QVERIFY(desk.find<QPushButton>("stepScene")->text().startsWith(u'✓'));
    }
};

NIMBARA_TEST(FirstMinutesTest)
#include "first_minutes_test.moc"
