#include "support/test_registry.h"
#include "ui/desk.h"

#include <QAccessible>
#include <QCheckBox>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QWizard>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

QString described(const QWidget *widget)
{
    return widget->objectName() + u" ("_s + QString::fromLatin1(widget->metaObject()->className())
        + u')';
}

/// Everything that the keyboard should reach now.
QSet<QWidget *> controlsIn(const QWidget &window)
{
    QSet<QWidget *> controls;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->window() == &window && widget->isVisible() && widget->isEnabled()
            && (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr) {
            controls << widget;
        }
    }
    return controls;
}

/// Where Tab leads from the focused control, until it comes back there.
QList<QWidget *> tabRound()
{
    QList<QWidget *> stops;
    while (!stops.contains(QApplication::focusWidget()) && stops.size() < 300) {
        stops << QApplication::focusWidget();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    return stops;
}

QString spokenName(QWidget *widget)
{
    const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(widget);
    return spoken != nullptr ? spoken->text(QAccessible::Name) : QString();
}

/// Reading goes down or to the right.
bool readsOn(const QWidget *from, const QWidget *to)
{
    const auto placed = [](const QWidget *widget) {
        return QRect(widget->mapTo(widget->window(), QPoint()), widget->size());
    };
    const QRect first = placed(from);
    const QRect next = placed(to);
    return next.top() > first.bottom() || next.left() > first.right() || from->isAncestorOf(to)
        || to->isAncestorOf(from);
}

/// What is wrong with the way of the keyboard through a window, which has the focus.
QStringList faultsOf(QWidget &window)
{
    const QList<QWidget *> stops = tabRound();
    QStringList faults;
    for (const QWidget *missed : controlsIn(window) - QSet(stops.begin(), stops.end())) {
        faults << u"never reached: "_s + described(missed);
    }
    for (QScrollArea *area : window.findChildren<QScrollArea *>()) {
        area->verticalScrollBar()->setValue(0);
    }
    QCoreApplication::processEvents(); // everything takes its place
    QStringList back;
    for (qsizetype i = 0; i < stops.size(); ++i) {
        const QString name = spokenName(stops[i]);
        if (std::none_of(name.begin(), name.end(), [](QChar c) { return c.isLetter(); })) {
            faults << u"without a name: "_s + described(stops[i]);
        }
        const QWidget *next = stops[(i + 1) % stops.size()];
        if (!readsOn(stops[i], next)) {
            back << described(stops[i]) + u" → "_s + described(next);
        }
    }
    if (back.size() > 1) { // from the last one to the first is the only way back
        faults << back;
    }
    return faults;
}

} // namespace

/// The studio without a mouse: what Tab reaches, in which order, and what a screen reader says.
class KeyboardTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tabGoesRoundTheWindow()
    {
        for (int row = 0; row < 14; ++row) { // a layer of each kind, none, and the other tabs
            const RowName named("row " + QByteArray::number(row));
            const int kind = row < 9 ? row : -1;
            const int tab = qMax(0, row - 9);
            Desk desk;
            QVERIFY(desk.isActive());
            desk.showTab(tab);
            desk.setLayers({ newLayer(static_cast<LayerKind>(qMax(kind, 0))) });
            desk.find<Canvas>("canvas")->setSelected(kind < 0 ? LayerId() : desk.layers()[0].id);
            if (!desk.find<QWidget>("language")->isVisible()) { // on a low screen
                desk.press("foldHeader");
            }
            desk.find<QWidget>("language")->setFocus();
            const QStringList faults = faultsOf(desk.window);
            QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
        }
    }

    void tabGoesRoundTheDialogs()
    {
        Desk desk;
        desk.press("credits");
        auto *credits = desk.find<QMessageBox>("creditsBox");
        QVERIFY(QTest::qWaitForWindowActive(credits));
        QCOMPARE(faultsOf(*credits), QStringList());
        QTest::keyClick(credits, Qt::Key_Escape);

        desk.window.onboarding();
        auto *assistant = desk.find<QWizard>("onboarding");
        QVERIFY(QTest::qWaitForWindowActive(assistant));
        QCOMPARE(faultsOf(*assistant), QStringList());
        auto *terms = desk.find<QCheckBox>("terms");
        terms->setFocus();
        QTest::keyClick(terms, Qt::Key_Space);
        QCOMPARE(faultsOf(*assistant), QStringList());
        QTest::keyClick(assistant, Qt::Key_Return);
        QTRY_COMPARE(assistant->currentId(), 1);
        QCOMPARE(faultsOf(*assistant), QStringList());
    }
};

NIMBARA_TEST(KeyboardTest)
#include "keyboard_test.moc"
