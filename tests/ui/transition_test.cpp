#include "support/test_registry.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The choice of transitions beside TAKE.
class TransitionControlsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void projectAndSceneAreChosenInTheBox()
    {
        Desk desk;
        const auto choose = [&](const char *list, const QString &entry) {
            desk.find<QComboBox>(list)->setCurrentText(entry);
        };
        const auto next = [&] { return desk.find<QCheckBox>("fade")->text(); };
        QVERIFY(desk.isActive());
        QCOMPARE(next(), u"Fundido 0.4 s"_s);
        desk.press("transition");
        QVERIFY(desk.find<QWidget>("transitionBox")->isVisible());

        choose("projectTransition", u"Deslizar ←"_s);
        desk.find<QDoubleSpinBox>("projectTransitionInSeconds")->setValue(1.2);
        const Transition slide { TransitionKind::SlideLeft, 1200 };
        QVERIFY(desk.document().project().transition == slide);
        QCOMPARE(next(), u"Deslizar ← 1.2 s"_s);
        desk.find<QCheckBox>("hallTransitions")->click();
        QVERIFY(desk.document().project().hallTransitions);

        auto *length = desk.find<QDoubleSpinBox>("sceneTransitionInSeconds");
        QVERIFY(!length->isEnabled());
        choose("sceneTransition", u"Barrido ↓"_s);
        QVERIFY(length->isEnabled());
        QCOMPARE(desk.document().currentScene()->transition->ms, Transition::usualMs);
        length->setValue(9); // the most is 3
        const Transition wipe { TransitionKind::WipeDown, 3000 };
        QVERIFY(desk.document().currentScene()->transition == wipe);
        QCOMPARE(next(), u"Barrido ↓ 3.0 s"_s);
        choose("projectTransition", u"Corte"_s);
        QCOMPARE(next(), u"Barrido ↓ 3.0 s"_s);
        while (!desk.document().undoName().isEmpty()) {
            desk.document().undo();
        }
        QCOMPARE(desk.find<QComboBox>("sceneTransition")->currentText(), u"Como el proyecto"_s);
        QCOMPARE(next(), u"Corte"_s);

        choose("projectTransition", u"Clip"_s);
        desk.find<QDoubleSpinBox>("clipCut")->setValue(0.7);
        desk.dialogs->files = { u"/culto/ola.webm"_s };
        desk.press("chooseTransitionClip");
        const TransitionClip clip { u"/culto/ola.webm"_s, 700 };
        QTRY_VERIFY(desk.document().project().transitionClip == clip);
        QVERIFY(desk.find<QWidget>("transitionBox")->isVisible()); // again

        QTest::keyClick(desk.find<QWidget>("transitionBox"), Qt::Key_Escape);
        QVERIFY(!desk.find<QWidget>("transitionBox")->isVisible());
    }
};

NIMBARA_TEST(TransitionControlsTest)
#include "transition_test.moc"
