#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/layer_list.h"
#include "ui/editor/properties_panel.h"

#include <QContextMenuEvent>
#include <QMenu>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct LayerDesk : Desk {
    LayerDesk()
    {
        std::vector<Layer> made;
        for (const char *name : { "a", "b", "c" }) {
            made.push_back(newLayer(LayerKind::Text));
            made.back().name = QLatin1String(name);
        }
        setLayers(made);
        select(0);
    }
    LayerList *list() { return find<LayerList>("layers"); }
    /// Of the layers, rear layer first.
    QString names()
    {
        QString all;
        for (const Layer &layer : layers()) {
            all += layer.name;
        }
        return all;
    }
    void key(const char *widget, QKeyCombination keys)
    {
        auto *target = find<QWidget>(widget);
        target->setFocus();
        QTest::keyClick(target, keys.key(), keys.keyboardModifiers());
    }
};

} // namespace

/// What is done with a layer by key and by dragging its entry.
class LayerActionsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keysChangeTheSelectedLayerInOneStep()
    {
        for (const auto &[keys, after, selected] :
            { std::tuple { QKeyCombination(Qt::Key_Delete), "bc", 0 },
                { Qt::CTRL | Qt::Key_X, "bc", 0 },
                { Qt::CTRL | Qt::Key_D, "abca", 3 } }) {
            for (const char *widget : { "layers", "canvas" }) {
                const RowName named(after);
                LayerDesk desk;
                QVERIFY(desk.isActive());
                desk.key(widget, keys);
                QCOMPARE(desk.names(), QLatin1String(after));
                QCOMPARE(desk.selected(), selected);
                desk.press("undo");
                QCOMPARE(desk.names(), u"abc"_s);
            }
        }
        LayerDesk desk;
        QVERIFY(desk.isActive());
        desk.key("canvas", Qt::CTRL | Qt::Key_H);
        QVERIFY(!desk.layers()[0].visible);
        desk.key("layerName", Qt::Key_Delete); // a field's keys are its own
        QCOMPARE(desk.names(), u"abc"_s);
    }

    /// Whoever copied goes to another scene or set, whose choice has the keyboard then.
    void pastesWhereASceneOrASetIsChosen()
    {
        for (const char *chooser : { "sceneTiles", "scenes", "editHall" }) {
            const RowName named(chooser);
            LayerDesk desk;
            QVERIFY(desk.isActive());
            desk.key("layers", Qt::CTRL | Qt::Key_C);
            desk.document().apply(AddScene { SceneSet::Streams, {} });
            auto *button = qobject_cast<QPushButton *>(desk.find<QWidget>(chooser));
            if (button != nullptr) {
                button->click();
                desk.setLayers({});
            }
            desk.key(chooser, Qt::CTRL | Qt::Key_V);
            QCOMPARE(desk.names(), u"a"_s);
        }
    }

    /// A picture that was being decoded comes in front while another layer is renamed: what is
    /// typed on is no key of the window, and the name is the layer's where the edit began.
    void aLayerThatComesLeavesTheRenamingAlone()
    {
        LayerDesk desk;
        QVERIFY(desk.isActive());
        desk.showTab(0);
        QListWidgetItem *top = desk.list()->item(0);
        desk.list()->setCurrentItem(top);
        desk.list()->editItem(top);
        auto *field = desk.list()->findChild<QLineEdit *>();
        QVERIFY(field);
        QTest::keyClicks(field, u"un"_s);
        addLayer(desk.document(), newLayer(LayerKind::Text));
        QTest::keyClicks(QApplication::focusWidget(), u" 2"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(desk.layers()[2].name, u"un 2"_s);
        QVERIFY(desk.layers()[3].name != u"un 2"_s);
        QVERIFY(!desk.stage().program.streams()); // the space was no TAKE
    }

    /// About the layer under the pointer, or all that are selected with it; what lies beside all
    /// layers is about none.
    void theCanvasHasTheMenuOfTheList()
    {
        struct Row {
            std::vector<std::size_t> selected;
            int layer; ///< under the pointer; -1: none
            const char *action;
            const char *after;
        };
        for (const auto &[chosen, layer, action, after] : { Row { { 0 }, 2, "Duplicar", "abcc" },
                 { { 0, 2 }, 2, "Eliminar", "b" },
                 { { 0, 1 }, 2, "Eliminar", "ab" },
                 { { 0, 2 }, -1, "Eliminar", "abc" } }) {
            const RowName named(after);
            LayerDesk desk;
            auto *canvas = desk.find<Canvas>("canvas");
            LayerIds ids;
            for (const std::size_t place : chosen) {
                ids.push_back(desk.layers()[place].id);
            }
            canvas->setSelection(LayerSelection(ids));
            const QRectF frame = frameRect(canvas->size(), 16.0 / 9);
            const QPointF place = layer < 0
                ? frame.topLeft() + QPointF(4, 4)
                : layerRect(boxOf(desk.layers()[static_cast<std::size_t>(layer)]), frame).center();
            QContextMenuEvent wanted(QContextMenuEvent::Mouse,
                place.toPoint(),
                canvas->mapToGlobal(place.toPoint()));
            QApplication::sendEvent(canvas, &wanted);
            auto *menu = canvas->findChild<QMenu *>(u"canvasMenu"_s);
            QVERIFY(menu != nullptr && menu->isVisible());
            QCOMPARE(menu->actions(), desk.list()->actions());
            for (QAction *each : menu->actions()) {
                if (each->text() == QLatin1String(action)) {
                    each->trigger();
                }
            }
            menu->close();
            QCOMPARE(desk.names(), QLatin1String(after));
        }
    }

    void aCopyGoesIntoTheOtherSet()
    {
        LayerDesk desk;
        QVERIFY(desk.isActive());
        desk.key("layers", Qt::CTRL | Qt::Key_C);
        const Layer copied = desk.layers()[0];
        desk.press("editHall");
        const auto before = desk.layers().size();
        desk.key("canvas", Qt::CTRL | Qt::Key_V);
        desk.key("canvas", Qt::CTRL | Qt::Key_V);
        QCOMPARE(desk.layers().size(), before + 2);
        Layer pasted = desk.layers().back();
        QVERIFY(pasted.id != copied.id && pasted.id != desk.layers()[before].id);
        pasted.id = copied.id;
        QVERIFY(pasted == copied);
    }

    void aLockedLayerStaysWhereItIsOnTheCanvas()
    {
        LayerDesk desk;
        QVERIFY(desk.isActive());
        const auto box = [&desk] { return boxOf(desk.layers()[2]); };
        const auto drag = [&desk](QPointF from, QPointF by) {
            auto *canvas = desk.find<Canvas>("canvas");
            QTest::mousePress(canvas, Qt::LeftButton, {}, from.toPoint());
            QTest::mouseMove(canvas, (from + by).toPoint());
            QTest::mouseRelease(canvas, Qt::LeftButton, {}, (from + by).toPoint());
        };
        const QRectF frame = frameRect(desk.find<Canvas>("canvas")->size(), 16.0 / 9);
        const QRectF place = layerRect(box(), frame);
        desk.select(2);
        const QListWidgetItem *front = desk.list()->item(0);
        const QRect lock = LayerList::lockIn(desk.list()->visualItemRect(front));
        QTest::mouseClick(desk.list()->viewport(), Qt::LeftButton, {}, lock.center());
        QVERIFY(desk.layers()[2].locked);
        QVERIFY(front->data(Qt::AccessibleTextRole).toString().endsWith(u"Bloqueada"_s));
        const Box before = box();
        drag(place.center(), { 20, 10 });
        desk.select(2);
        drag(place.topLeft() + QPointF(3, 3), { 20, 10 }); // where a handle would be
        desk.select(2);
        desk.key("canvas", Qt::Key_Right);
        QVERIFY(box() == before);
        desk.key("canvas", Qt::CTRL | Qt::Key_K);
        drag(place.center(), { 20, 10 });
        QVERIFY(box() != before);
    }

    void aLayerIsRenamedInItsEntry()
    {
        LayerDesk desk;
        QVERIFY(desk.isActive());
        for (const auto &[typed, after] :
            { std::pair { " Nombre ", "Nombrebc" }, { " ", "Nombrebc" } }) {
            desk.key("layers", Qt::CTRL | Qt::Key_R);
            auto *field = desk.list()->findChild<QLineEdit *>();
            QVERIFY(field != nullptr && field->hasFocus());
            QTest::keyClicks(field, QLatin1String(typed));
            QTest::keyClick(field, Qt::Key_Return);
            QTRY_VERIFY(desk.list()->findChild<QLineEdit *>() == nullptr);
            QCOMPARE(desk.names(), QLatin1String(after));
        }
        QVERIFY(desk.list()->item(2)->text().contains(u"Nombre"_s));
    }

    void aDraggedEntryMovesItsLayer()
    {
        for (const auto &[from, onto, lower, after] : { std::tuple { 0, 2, true, "cab" },
                 { 0, 1, true, "acb" },
                 { 2, 0, false, "bca" },
                 { 1, 1, true, "abc" } }) {
            const RowName named(after);
            LayerDesk desk;
            desk.list()->setCurrentRow(from, QItemSelectionModel::ClearAndSelect);
            const QRect entry = desk.list()->visualItemRect(desk.list()->item(onto));
            desk.list()->dropSelected(lower ? entry.bottomLeft() : entry.topLeft());
            QCOMPARE(desk.names(), QLatin1String(after));
            if (from != onto) {
                desk.press("undo");
                QCOMPARE(desk.names(), u"abc"_s);
            }
        }
        LayerDesk desk;
        desk.list()->setCurrentRow(0, QItemSelectionModel::ClearAndSelect);
        desk.list()->dropSelected({ 10, desk.list()->height() - 2 }); // below all entries
        QCOMPARE(desk.names(), u"cab"_s);
    }

    /// Seen on PREVIEW's picture, in the background; one step of undo.
    void whatIsHardToReadIsMarkedAndMended()
    {
        LayerDesk desk;
        Layer wall = newLayer(LayerKind::Color);
        wall.fill = Qt::white;
        Layer words = newLayer(LayerKind::Text);
        words.text = u"Dios es amor"_s;
        words.background = QColor(0, 0, 0, 0);
        words.shadow = false;
        Layer small = words;
        small.id = LayerId::make();
        small.color = Qt::black;
        small.size = 20;
        desk.setLayers({ wall, words, small });
        desk.select(1);
        const auto isMarked
            = [&](int row) { return desk.list()->item(row)->text().contains(u"cuesta leerlo"_s); };
        auto *mend = desk.find<QPushButton>("makeLegible");
        QTRY_VERIFY(isMarked(0) && isMarked(1) && mend->isVisibleTo(&desk.window));
        QVERIFY(!isMarked(2));
        QVERIFY(desk.list()->item(1)->toolTip().contains(u"contraste 1.0 : 1"_s));
        mend->click();
        QVERIFY(desk.layers()[1].shadow);
        QTRY_VERIFY(!isMarked(1) && !mend->isVisibleTo(&desk.window));
        QVERIFY(isMarked(0)); // its letters stay small
        desk.select(2);
        QVERIFY(!mend->isVisibleTo(&desk.window)); // a box would not help
        desk.press("undo");
        QVERIFY(!desk.layers()[1].shadow);
        QTRY_VERIFY(isMarked(1));
        desk.select(1);
        QTRY_VERIFY(mend->isVisibleTo(&desk.window));
        desk.set(1, LayerField::Opacity, 0.3); // what shows through cannot be mended
        QTRY_VERIFY(!mend->isVisibleTo(&desk.window));
        Q_EMIT desk.find<PropertiesPanel>("properties")->legibleWanted(desk.layers()[1].id);
        QVERIFY2(desk.status().contains(u"con esta opacidad: súbela al "_s),
            qPrintable(desk.status()));
        Layer subtitle = newLayer(LayerKind::Subtitle); // with its placeholder
        subtitle.background = QColor(0, 0, 0, 0);
        subtitle.shadow = false;
        desk.setLayers({ wall, subtitle });
        QTRY_VERIFY(isMarked(0));
    }
};

NIMBARA_TEST(LayerActionsTest)
#include "layer_actions_test.moc"
