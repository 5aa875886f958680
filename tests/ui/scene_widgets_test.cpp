#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/canvas.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QStyle>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct SceneDesk : Desk {
    Canvas *canvas() { return find<Canvas>("canvas"); }
    QListWidget *list() { return find<QListWidget>("layers"); }

    /// A layer that is 20 % to 60 % of the frame in both directions, selected. It is another value
    /// after each edit.
    void only(LayerKind kind)
    {
        Layer layer = newLayer(kind);
        layer.x = layer.y = 0.2;
        layer.w = layer.h = 0.4;
        setLayers({ layer });
        select(0);
    }
    const Layer &first() { return layers()[0]; }
    QPoint at(double x, double y)
    {
        const QRectF area = frameRect(canvas()->size(), 16.0 / 9);
        return QPointF(area.x() + x * area.width(), area.y() + y * area.height()).toPoint();
    }
    void drag(QPoint from, QPoint to)
    {
        QTest::mousePress(canvas(), Qt::LeftButton, {}, from);
        QTest::mouseMove(canvas(), (from + to) / 2);
        QTest::mouseMove(canvas(), to);
        QTest::mouseRelease(canvas(), Qt::LeftButton, {}, to);
    }
    QRect checkBoxOf(int row)
    {
        QStyleOptionViewItem option;
        option.initFrom(list());
        option.rect = list()->visualItemRect(list()->item(row));
        option.features = QStyleOptionViewItem::HasCheckIndicator;
        return list()->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator,
            &option,
            list());
    }
};

bool isClose(double a, double b)
{
    return qAbs(a - b) < 0.01; // a pixel of the monitor
}

} // namespace

/// The scene tab, its panel and the canvas, by mouse and by keyboard.
class SceneWidgetsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void oneClickHidesALayerThatIsNotSelected()
    {
        SceneDesk desk;
        desk.setLayers({ newLayer(LayerKind::Color), newLayer(LayerKind::Text) });
        desk.select(1);
        QTest::mouseClick(desk.list()->viewport(), Qt::LeftButton, {}, desk.checkBoxOf(1).center());
        QVERIFY(!desk.layers()[0].visible);
        QVERIFY(desk.layers()[1].visible);
        QCOMPARE(desk.list()->currentRow(), 1 - desk.selected());
        QVERIFY(desk.list()->item(1)->text().startsWith(QString::fromUtf8("🚫  ")));
        const QRect entry = desk.list()->visualItemRect(desk.list()->item(1));
        QTest::mouseClick(desk.list()->viewport(), Qt::LeftButton, {}, entry.center());
        QCOMPARE(desk.selected(), 0);
        QVERIFY(!desk.layers()[0].visible);
    }

    void returnDoesWhatSpaceDoesElsewhere()
    {
        SceneDesk desk;
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));
        desk.only(LayerKind::Camera);
        const auto key = [&](QWidget *widget, Qt::Key pressed) {
            widget->setFocus();
            QTest::keyClick(widget, pressed);
        };
        auto *cover = desk.find<QCheckBox>("cover");
        key(cover, Qt::Key_Return);
        QVERIFY(desk.layers()[0].cover);
        key(desk.list(), Qt::Key_Enter);
        QVERIFY(!desk.layers()[0].visible);
        key(desk.find<QPushButton>("fitToFrame"), Qt::Key_Return);
        QCOMPARE(desk.layers()[0].w, 1.0);
        QCOMPARE(QApplication::focusWidget()->objectName(), u"fitToFrame"_s);
        key(desk.find<QPushButton>("duplicateScene"), Qt::Key_Return);
        QCOMPARE(desk.document().editedScenes().size(), 2U);
        QVERIFY(!desk.stage().program.streams());
        key(desk.find<QCheckBox>("fade"), Qt::Key_Space); // TAKE, wherever the focus is
        QVERIFY(desk.stage().program.streams());
        QVERIFY(desk.find<QCheckBox>("fade")->isChecked());
    }

    void panelHasTheRowsOfItsKind_data() { kinds(); }
    void panelHasTheRowsOfItsKind()
    {
        QFETCH(LayerKind, kind);
        QFETCH(QString, own);
        SceneDesk desk;
        desk.only(kind);
        const QStringList always { u"layerName"_s,
            u"positionX"_s,
            u"positionY"_s,
            u"positionW"_s,
            u"positionH"_s,
            u"align00"_s,
            u"align22"_s,
            u"opacity"_s,
            u"fitToFrame"_s };
        const QStringList special = own.split(u' ');
        const QStringList all = u"verseReference findVerse layerText font textSize bold textColor "
                                "backgroundColor shadow textAlign cover fillColor changeImage "
                                "sound restartVideo"_s.split(u' ');
        const auto *panel = desk.find<QWidget>("properties");
        for (const QString &name : always + all) {
            const bool expected = always.contains(name) || special.contains(name);
            QVERIFY2((panel->findChild<QWidget *>(name) != nullptr) == expected, qPrintable(name));
        }
    }

    void fieldsKeepToTheirRanges_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<double>("lowest");
        QTest::addColumn<double>("highest");
        QTest::newRow("X") << u"positionX"_s << -95.0 << 95.0;
        QTest::newRow("Y") << u"positionY"_s << -95.0 << 95.0;
        QTest::newRow("W") << u"positionW"_s << 3.0 << 300.0;
        QTest::newRow("H") << u"positionH"_s << 3.0 << 300.0;
    }
    void fieldsKeepToTheirRanges()
    {
        QFETCH(QString, field);
        QFETCH(double, lowest);
        QFETCH(double, highest);
        SceneDesk desk;
        desk.only(LayerKind::Text);
        auto *spin = desk.find<QDoubleSpinBox>(field);
        const auto value = [&] {
            const Layer &layer = desk.first();
            return field == u"positionX"_s ? layer.x
                : field == u"positionY"_s  ? layer.y
                : field == u"positionW"_s  ? layer.w
                                           : layer.h;
        };
        spin->setValue(1000);
        QCOMPARE(value(), highest / 100);
        spin->setValue(-1000);
        QCOMPARE(value(), lowest / 100);
        QVERIFY(!spin->keyboardTracking());
        QCOMPARE(spin->decimals(), 1);
        QCOMPARE(spin->suffix(), u"%"_s);
    }

    void theMouseMovesAndResizes()
    {
        SceneDesk desk;
        desk.only(LayerKind::Text);
        desk.drag(desk.at(0.4, 0.4), desk.at(0.5, 0.3));
        QVERIFY(isClose(desk.first().x, 0.3) && isClose(desk.first().y, 0.1));
        desk.drag(desk.at(0.7, 0.5), desk.at(0.8, 0.9)); // its bottom right handle
        QVERIFY(isClose(desk.first().w, 0.5) && isClose(desk.first().h, 0.8));
        desk.drag(desk.at(0.8, 0.9), desk.at(0.1, 0.9)); // past the anchor: flips
        QVERIFY(isClose(desk.first().x, 0.1) && isClose(desk.first().w, 0.2));
        QTest::mouseClick(desk.canvas(), Qt::LeftButton, {}, desk.at(0.95, 0.95));
        QCOMPARE(desk.selected(), -1);
    }

    void aDragEndsWithAnyButtonAndWithItsLayer()
    {
        SceneDesk desk;
        desk.only(LayerKind::Text);
        QTest::mousePress(desk.canvas(), Qt::LeftButton, {}, desk.at(0.4, 0.4));
        QTest::mouseRelease(desk.canvas(), Qt::RightButton, {}, desk.at(0.4, 0.4));
        QTest::mouseMove(desk.canvas(), desk.at(0.6, 0.6));
        QCOMPARE(desk.layers()[0].x, 0.2);
        QTest::mousePress(desk.canvas(), Qt::LeftButton, {}, desk.at(0.4, 0.4));
        addLayer(desk.document(), newLayer(LayerKind::Image)); // a picture that was being decoded
        desk.select(1);
        QTest::mouseMove(desk.canvas(), desk.at(0.6, 0.6));
        QCOMPARE(desk.layers()[1].x, 0.55);
    }

    void keysNudgeAndADoubleClickShowsTheTab()
    {
        SceneDesk desk;
        desk.only(LayerKind::Color);
        QTest::keyClick(desk.canvas(), Qt::Key_Right);
        QTest::keyClick(desk.canvas(), Qt::Key_Up, Qt::ShiftModifier);
        QVERIFY(qAbs(desk.first().x - 0.205) < 1e-9 && qAbs(desk.first().y - 0.15) < 1e-9);
        desk.find<QTabWidget>("tabs")->setCurrentIndex(2);
        desk.set(0, LayerField::Visible, false); // cannot be picked
        QTest::mouseDClick(desk.canvas(), Qt::LeftButton, {}, desk.at(0.4, 0.4));
        QCOMPARE(desk.find<QTabWidget>("tabs")->currentIndex(), 2);
        desk.set(0, LayerField::Visible, true);
        QTest::mouseDClick(desk.canvas(), Qt::LeftButton, {}, desk.at(0.4, 0.4));
        QCOMPARE(desk.find<QTabWidget>("tabs")->currentIndex(), 0);
    }

    void typingIsNeverInterrupted()
    {
        SceneDesk desk;
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));
        desk.only(LayerKind::Text);
        auto *text = desk.find<QPlainTextEdit>("layerText");
        text->selectAll();
        QTest::keyClicks(text, u"Hola "_s);
        desk.drag(desk.at(0.4, 0.4), desk.at(0.5, 0.4)); // the same layer
        QVERIFY(isClose(desk.find<QDoubleSpinBox>("positionX")->value() / 100, 0.3));
        text->setFocus();
        const LayerId late = addLayer(desk.document(), newLayer(LayerKind::Verse));
        Q_EMIT desk.window.studio().images().added(late); // one that took long to decode
        desk.document().apply(SetVerse { late, u"tarde"_s, {}, {} });
        QCOMPARE(desk.list()->count(), 2);
        desk.window.studio().tick();
        QCOMPARE(desk.find<QPlainTextEdit>("layerText"), text);
        QTest::keyClicks(QApplication::focusWidget(), u"todos"_s);
        QCOMPARE(desk.layers()[0].text, u"Hola todos"_s);
    }

    void everyWarningCanBeRead()
    {
        SceneDesk desk;
        QStringList warnings;
        QList<Message> told;
        for (int i = 0; i < 2000; ++i) {
            warnings << u"Logo %1: Imagen inválida o demasiado grande"_s.arg(i);
            told << warnings.last();
        }
        Q_EMIT desk.window.studio().projects().opened(told);
        QTRY_COMPARE(desk.dialogs->asked.size(), 1);
        QCOMPARE(desk.dialogs->asked[0], u"Abrir proyecto: "_s + warnings.join(u'\n'));

        QtDialogs(&desk.window).warning(u"Abrir proyecto"_s, warnings.join(u'\n'));
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box != nullptr);
        QCOMPARE(box->text().count(u'\n'), QtDialogs::mostLines);
        QVERIFY(box->text().endsWith(u"… y 1980 más"_s));
        QVERIFY(box->detailedText().endsWith(warnings.last()));
        box->close();
    }

private:
    static void kinds()
    {
        QTest::addColumn<LayerKind>("kind");
        QTest::addColumn<QString>("own");
        const QString style = u"font textSize bold textColor backgroundColor shadow textAlign"_s;
        QTest::newRow("camera") << LayerKind::Camera << u"cover"_s;
        QTest::newRow("image") << LayerKind::Image << u"cover changeImage"_s;
        QTest::newRow("text") << LayerKind::Text << u"layerText "_s + style;
        QTest::newRow("video") << LayerKind::Video << u"cover sound restartVideo"_s;
        QTest::newRow("screen") << LayerKind::Screen << u"cover"_s;
        QTest::newRow("color") << LayerKind::Color << u"fillColor"_s;
        QTest::newRow("verse") << LayerKind::Verse
                               << u"verseReference findVerse layerText "_s + style;
        QTest::newRow("subtitle") << LayerKind::Subtitle << style;
    }
};

NIMBARA_TEST(SceneWidgetsTest)
#include "scene_widgets_test.moc"
