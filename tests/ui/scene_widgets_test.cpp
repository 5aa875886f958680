#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/canvas.h"
#include "ui/editor/font_list.h"
#include "ui/editor/verse_field.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDoubleSpinBox>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <QWindow>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct SceneDesk : Desk {
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
        const QRect entry = desk.list()->visualItemRect(desk.list()->item(1));
        const QPoint box(entry.left() + 10, entry.center().y());
        QTest::mouseClick(desk.list()->viewport(), Qt::LeftButton, {}, box);
        QVERIFY(!desk.layers()[0].visible);
        QVERIFY(desk.layers()[1].visible);
        QCOMPARE(desk.list()->currentRow(), 1 - desk.selected());
        QVERIFY(desk.list()->item(1)->text().startsWith(u"🚫  "_s));
        QTest::mouseClick(desk.list()->viewport(), Qt::LeftButton, {}, entry.center());
        QCOMPARE(desk.selected(), 0);
        QVERIFY(!desk.layers()[0].visible);
    }

    void returnDoesWhatSpaceDoesElsewhere()
    {
        SceneDesk desk;
        QVERIFY(desk.isActive());
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
        key(desk.find<QCheckBox>("fade"), Qt::Key_Space); // TAKE, wherever the focus is
        QVERIFY(desk.stage().program.streams());
        QVERIFY(desk.find<QCheckBox>("fade")->isChecked());
    }

    /// The click that closes the list of suggestions reaches what it was meant for.
    void aClickBesideTheSuggestionsIsNotLost()
    {
        QWidget window;
        auto *column = new QVBoxLayout(&window);
        auto *field = new VerseField;
        auto *button = new QPushButton;
        column->addWidget(field);
        column->addSpacing(300);
        column->addWidget(button);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        field->setFocus();
        int clicks = 0;
        QObject::connect(button, &QPushButton::clicked, button, [&clicks] { ++clicks; });
        QAbstractItemView *list = field->findChild<QCompleter *>()->popup();
        for (const bool isBeside : { true, false, true }) {
            const int before = clicks;
            field->clear();
            QTest::keyClicks(field, u"ju"_s);
            field->offer(u"ju"_s, { { u"Juan 3:16"_s, {} } });
            QTRY_VERIFY(list->isVisible());
            const QPoint place = isBeside
                ? button->mapToGlobal(button->rect().center())
                : list->viewport()->mapToGlobal(
                    list->visualRect(list->model()->index(0, 0)).center());
            QWindow *grabber = list->windowHandle();
            QTest::mousePress(grabber, Qt::LeftButton, {}, grabber->mapFromGlobal(place));
            QTest::mouseRelease(grabber, Qt::LeftButton, {}, grabber->mapFromGlobal(place));
            QVERIFY(!list->isVisible());
            QCOMPARE(clicks, before + (isBeside ? 1 : 0));
            QCOMPARE(field->text(), isBeside ? u"ju"_s : u"Juan 3:16"_s);
            window.activateWindow(); // without a desktop a closed list leaves none active
            QVERIFY(QTest::qWaitForWindowActive(&window));
            field->setFocus();
        }
    }

    void panelHasTheRowsOfItsKind()
    {
        const QString style
            = u" font textSize lineSpacing bold upperCase textColor backgroundColor shadow outlineWidth "_s
              u"shadowStrength textAlign textStyle"_s;
        const QString always
            = u" layerName positionX positionY positionW positionH align00 align22 "
              "opacity fitToFrame"_s;
        const QStringList all = (always + style
            + u" verseReference findVerse layerText cover fillColor changeImage sound restartVideo layerCamera clockShows"_s)
                                    .split(u' ', Qt::SkipEmptyParts);
        SceneDesk desk;
        const auto *panel = desk.find<QWidget>("properties");
        for (const auto &[kind, own] : { std::pair { LayerKind::Camera, u" cover layerCamera"_s },
                 { LayerKind::Image, u" cover changeImage"_s },
                 { LayerKind::Text, u" layerText"_s + style },
                 { LayerKind::Video, u" cover sound restartVideo"_s },
                 { LayerKind::Screen, u" cover"_s },
                 { LayerKind::Color, u" fillColor"_s },
                 { LayerKind::Verse, u" verseReference findVerse layerText"_s + style },
                 { LayerKind::Subtitle, style },
                 { LayerKind::Clock, u" clockShows"_s + style } }) {
            desk.only(kind);
            const QStringList expected = (always + own).split(u' ', Qt::SkipEmptyParts);
            for (const QString &name : all) {
                const bool shown = desk.find<QWidget>(name)->isVisibleTo(panel);
                QVERIFY2(shown == expected.contains(name), qPrintable(own + u": "_s + name));
            }
        }
        desk.setLayers({});
        QVERIFY(!desk.find<QWidget>("layerName")->isVisibleTo(panel));
    }

    /// A control outlives the layer that it shows: what was begun with it stays with that layer.
    void anotherLayerIsWrittenIntoTheSameControls()
    {
        SceneDesk desk;
        QVERIFY(desk.isActive());
        Layer half = newLayer(LayerKind::Verse);
        half.opacity = 0.5;
        desk.setLayers({ newLayer(LayerKind::Verse), half });
        const Layer other = desk.layers()[1]; // named
        desk.select(0);
        auto *reference = desk.find<QLineEdit>("verseReference");
        reference->setFocus();
        QTest::keyClicks(reference, u"Rut"_s);
        desk.select(1);
        QCOMPARE(reference->text(), QString());
        desk.select(0);
        auto *size = desk.find<QSpinBox>("textSize");
        size->setFocus();
        size->selectAll();
        QTest::keyClicks(size, u"33"_s);
        auto *opacity = desk.find<QSlider>("opacity");
        opacity->setSliderDown(true);
        opacity->setValue(70);
        desk.select(1);
        QCOMPARE(size->value(), other.size);
        QCOMPARE(QApplication::focusWidget(), size);
        opacity->setValue(80);
        opacity->setSliderDown(false);
        QCOMPARE(opacity->value(), 50);
        QCOMPARE(desk.layers()[0].opacity, 0.8);
        QCOMPARE(desk.layers()[0].size, 33);
        QVERIFY(desk.layers()[1] == other);
    }

    void everyFieldReachesItsLayer()
    {
        SceneDesk desk;
        desk.only(LayerKind::Verse);
        Layer wanted = desk.first();
        wanted.name = u"Cita"_s;
        wanted.text = u"uno\ndos"_s;
        wanted.opacity = 0.4;
        wanted.size = 33;
        wanted.bold = !wanted.bold;
        wanted.outlineWidth = 150;
        wanted.shadowStrength = 40;
        wanted.shadow = !wanted.shadow;
        wanted.upperCase = !wanted.upperCase;
        wanted.spacing = 140;
        wanted.align = withHorizontalAlign(wanted.align, HorizontalAlign::Right);
        wanted.color = QColor(10, 200, 30);
        wanted.background = QColor(90, 0, 0, 77);
        desk.find<QLineEdit>("layerName")->clear();
        QTest::keyClicks(desk.find<QLineEdit>("layerName"), wanted.name);
        desk.find<QPlainTextEdit>("layerText")->setPlainText(wanted.text);
        desk.find<QSlider>("opacity")->setValue(40);
        desk.find<QSpinBox>("textSize")->setValue(33);
        desk.find<QCheckBox>("bold")->click();
        desk.find<QSpinBox>("outlineWidth")->setValue(150);
        desk.find<QSpinBox>("shadowStrength")->setValue(40);
        desk.find<QCheckBox>("shadow")->click();
        QVERIFY(!desk.find<QSpinBox>("outlineWidth")->isEnabled());
        desk.find<QCheckBox>("upperCase")->click();
        desk.find<QSpinBox>("lineSpacing")->setValue(140);
        desk.find<QComboBox>("textAlign")->setCurrentIndex(2);
        desk.dialogs->colors = { wanted.color, wanted.background };
        desk.press("textColor");
        QTRY_COMPARE(desk.first().color, wanted.color);
        desk.press("backgroundColor");
        QTRY_COMPARE(desk.first().background, wanted.background);
        QVERIFY(desk.first() == wanted);
        desk.only(LayerKind::Color);
        desk.dialogs->colors = { QColor(1, 99, 150) };
        desk.press("fillColor");
        QTRY_COMPARE(desk.first().fill, QColor(1, 99, 150));
    }

    /// What is only looked at in the open list must reach neither the project nor a program.
    void aFontOfTheOpenListIsSeenInPreviewAlone()
    {
        SceneDesk desk;
        QVERIFY(desk.isActive());
        desk.only(LayerKind::Text);
        Document &document = desk.document();
        document.apply(KeepStyle { desk.first().id, u"Grande"_s });
        document.apply(AddLayer { document.currentScene()->id, newLayer(LayerKind::Clock) });
        document.apply(FollowStyle { desk.layers()[1].id, u"Grande"_s });
        desk.select(0);
        desk.window.studio().program().take();
        const Project before = document.project();
        const QString step = document.undoName();
        auto *list = desk.find<FontList>("font");
        QVERIFY(list->count() > 3);
        const auto previewed
            = [&](std::size_t layer) { return desk.stage().previewed()->layers[layer].font; };
        const auto highlight = [&] {
            list->showPopup();
            list->view()->setCurrentIndex(list->model()->index(0, 0));
            QTest::keyClick(list->view(), Qt::Key_Down);
            QTest::keyClick(list->view(), Qt::Key_Down);
            return list->itemText(2);
        };
        const QString third = highlight();
        QCOMPARE(previewed(0), third);
        QCOMPARE(previewed(1), third); // it follows the same style
        desk.window.studio().program().take();
        QCOMPARE(desk.stage().program.streams()->layers[0].font, desk.first().font);
        QTest::keyClick(list->view(), Qt::Key_Escape);
        QCOMPARE(desk.stage().previewed(), document.currentScene());
        QVERIFY(!differ(document.project(), before));

        highlight();
        const QRect row = list->view()->visualRect(list->model()->index(1, 0));
        QTest::mouseMove(list->view()->viewport(), row.center());
        QTRY_COMPARE(previewed(0), list->itemText(1));
        QCOMPARE(document.undoName(), step);
        QTest::keyClick(list->view(), Qt::Key_Return);
        QCOMPARE(desk.first().font, list->itemText(1));
        QCOMPARE(desk.stage().previewed(), document.currentScene());
        document.undo();
        QVERIFY(!differ(document.project(), before)); // one step
    }

    void fieldsKeepToTheirRanges()
    {
        SceneDesk desk;
        desk.only(LayerKind::Text);
        for (const auto &[field, part, lowest, highest] :
            { std::tuple { "positionX", &Layer::x, -0.95, 0.95 },
                { "positionY", &Layer::y, -0.95, 0.95 },
                { "positionW", &Layer::w, 0.03, 3.0 },
                { "positionH", &Layer::h, 0.03, 3.0 } }) {
            const RowName named(field);
            auto *spin = desk.find<QDoubleSpinBox>(field);
            spin->setValue(1000);
            QCOMPARE(desk.first().*part, highest);
            spin->setValue(-1000);
            QCOMPARE(desk.first().*part, lowest);
            QVERIFY(!spin->keyboardTracking());
        }
    }

    void theMouseMovesAndResizes()
    {
        SceneDesk desk;
        desk.canvas()->setSnapping(false);
        desk.only(LayerKind::Text);
        desk.drag(desk.at(0.4, 0.4), desk.at(0.5, 0.3));
        QVERIFY(isClose(desk.first().x, 0.3) && isClose(desk.first().y, 0.1));
        desk.drag(desk.at(0.7, 0.5), desk.at(0.8, 0.9)); // its bottom right handle
        QVERIFY(isClose(desk.first().w, 0.5) && isClose(desk.first().h, 0.8));
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

    /// Any layer that came or went dropped the one that was being dragged.
    void aDragGoesOnWhileOthersComeAndGo()
    {
        SceneDesk desk;
        desk.canvas()->setSnapping(false);
        desk.only(LayerKind::Text);
        QTest::mousePress(desk.canvas(), Qt::LeftButton, {}, desk.at(0.4, 0.4));
        const LayerId other = addLayer(desk.document(), newLayer(LayerKind::Image));
        QTest::mouseMove(desk.canvas(), desk.at(0.5, 0.4));
        QVERIFY(isClose(desk.first().x, 0.3));
        desk.document().apply(DeleteLayer { other });
        QTest::mouseMove(desk.canvas(), desk.at(0.4, 0.3));
        QVERIFY(isClose(desk.first().x, 0.2) && isClose(desk.first().y, 0.1));
    }

    void keysNudgeAndADoubleClickShowsTheTab()
    {
        SceneDesk desk;
        QVERIFY(desk.isActive());
        desk.only(LayerKind::Color);
        desk.canvas()->setFocus();
        QTest::keyClick(desk.canvas(), Qt::Key_Right);
        QTest::keyClick(desk.canvas(), Qt::Key_Up, Qt::ShiftModifier);
        QVERIFY(qAbs(desk.first().x - 0.2 - 1.0 / 1920) < 1e-9);
        QVERIFY(qAbs(desk.first().y - 0.2 + 10.0 / 1080) < 1e-9);
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
        QVERIFY(desk.isActive());
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
        desk.setLayers({}); // what is typed on is for nobody, and no TAKE
        QTest::keyClick(desk.window.windowHandle(), Qt::Key_Space);
        QVERIFY(!desk.stage().program.streams());
    }

    /// One that took long to decode is selected, unless the operator has gone on to other work.
    void aLatePictureInterruptsNoWork()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"logo.png"_s);
        QVERIFY(QImage(8, 8, QImage::Format_RGB32).save(path));
        const std::tuple<const char *, std::function<void(SceneDesk &)>, bool> rows[] {
            { "waits", [](SceneDesk &) {}, true },
            { "selects", [](SceneDesk &desk) { desk.select(1); }, false },
            { "edits",
                [](SceneDesk &desk) { desk.find<QSlider>("opacity")->setValue(40); },
                false },
        };
        for (const auto &[name, work, selected] : rows) {
            const RowName named(name);
            SceneDesk desk;
            desk.setLayers({ newLayer(LayerKind::Text), newLayer(LayerKind::Text) });
            desk.select(0);
            desk.dialogs->files = { path };
            desk.find<QPushButton>("loadImage")->click();
            work(desk);
            auto *bar = desk.find<QScrollArea>("properties")->verticalScrollBar();
            bar->setValue(bar->maximum());
            const int place = bar->value();
            const int before = desk.selected();
            QTRY_VERIFY(!desk.window.studio().images().isDecoding());
            QCOMPARE(desk.layers().size(), 3U);
            QCOMPARE(desk.selected(), selected ? 2 : before);
            QVERIFY(place > 0 && (selected || bar->value() == place));
        }
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

    void missingFilesAreOfferedToBeFound()
    {
        SceneDesk desk;
        bool taken = false;
        QtDialogs(&desk.window).offer(u"Abrir proyecto"_s, u"/no/esta.png"_s, u"Buscar…"_s, [&] {
            taken = true;
        });
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box != nullptr);
        box->buttons().last()->click();
        QTRY_VERIFY(taken);

        ProjectDesk &projects = desk.window.studio().projects();
        projects.mediaSearch().setMissing({ u"/no/esta.png"_s });
        desk.dialogs->answers = { true };
        desk.dialogs->files = { QDir::tempPath() + u"/nada"_s };
        Q_EMIT projects.opened({});
        QTRY_COMPARE(desk.status(), u"Archivos encontrados: 0; faltan 1."_s);
        QCOMPARE(desk.dialogs->asked[0],
            u"Abrir proyecto: Archivos que no están:\n/no/esta.png|Buscar…"_s);
    }
};

NIMBARA_TEST(SceneWidgetsTest)
#include "scene_widgets_test.moc"
