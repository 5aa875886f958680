#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/editor/layer_list.h"

#include <QWheelEvent>

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Four texts side by side, rear layer first: a, b, c, d.
std::vector<Layer> fourTexts()
{
    std::vector<Layer> layers;
    for (int i = 0; i < 4; ++i) {
        layers.push_back(newLayer(LayerKind::Text));
        layers.back().name = QChar(u'a' + i);
        setBox(layers.back(), { 0.07 + 0.22 * i, 0.3, 0.17, 0.2 });
    }
    return layers;
}

struct GroupDesk : Desk {
    GroupDesk()
    {
        setLayers(fourTexts());
        select(0);
    }
    LayerList *list() { return find<LayerList>("layers"); }
    QPoint middleOf(std::size_t place)
    {
        const Box box = boxOf(layers().at(place));
        return at(box.x + box.w / 2, box.y + box.h / 2);
    }
    void click(QPoint place, Qt::KeyboardModifiers held = {})
    {
        QTest::mouseClick(canvas(), Qt::LeftButton, held, place);
    }
    void clickEntry(int row, Qt::KeyboardModifiers held = {})
    {
        const QRect entry = list()->visualItemRect(list()->item(row));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, held, entry.center());
    }
    void key(const char *widget, QKeyCombination keys)
    {
        auto *target = find<QWidget>(widget);
        target->setFocus();
        QTest::keyClick(target, keys.key(), keys.keyboardModifiers());
    }
    void zoomIn()
    {
        const QPointF place(canvas()->rect().center());
        QWheelEvent turn(place,
            canvas()->mapToGlobal(place),
            {},
            { 0, 480 },
            Qt::NoButton,
            Qt::ControlModifier,
            Qt::NoScrollPhase,
            false);
        QApplication::sendEvent(canvas(), &turn);
    }
    /// Of the selected layers, as they stand; the current one in capitals.
    QString chosen()
    {
        QString names;
        for (const Layer &layer : layers()) {
            if (canvas()->selection().contains(layer.id)) {
                const bool isCurrent = layer.id == canvas()->selected();
                names += isCurrent ? layer.name.toUpper() : layer.name;
            }
        }
        return names;
    }
    /// Of all layers: hidden ones in brackets, locked ones with a sign.
    QString state()
    {
        QString all;
        for (const Layer &layer : layers()) {
            all += (layer.visible ? layer.name : u'(' + layer.name + u')')
                + (layer.locked ? u"!"_s : QString());
        }
        return all;
    }
    double x(std::size_t place) { return layers().at(place).x; }
};

/// One operator and the same operations at a document alone.
class Storm {
public:
    Storm(GroupDesk &desk, Document &engine, unsigned seed)
        : m_desk(desk)
        , m_engine(engine)
        , m_random(seed)
    {
        QObject::connect(desk.canvas(),
            &Canvas::placed,
            desk.canvas(),
            [this](const Placements &p) { m_placed.push_back(p); });
        QObject::connect(desk.list(),
            &LayerList::dragged,
            desk.list(),
            [this](const LayerIds &ids, int to) {
                m_dropped = PlaceLayers { ids, to };
            });
    }

    void step()
    {
        m_places = placesOf(m_desk.canvas()->selection().layers());
        const auto layers = m_desk.layers().size();
        const std::size_t what = layers <= 9 ? pick(15) : m_places.empty() ? 0 : 2;
        if (what < 2) {
            choose(layers);
        } else if (what < 9) {
            useKey(what);
        } else if (what == 9) {
            m_desk.press(pick(2) == 0 ? "editHall" : "editStreams");
            m_engine.setEditing(m_desk.document().editing());
        } else if (what < 12 && layers > 0) {
            dragOnCanvas(pick(layers));
        } else if (what == 12 && layers > 0) {
            drop();
        } else if (what > 12) {
            m_desk.press(what == 13 ? "undo" : "redo");
            what == 13 ? m_engine.undo() : m_engine.redo();
        }
        for (Document *document : { &m_desk.document(), &m_engine }) {
            document->endGesture(); // each is a step of its own, however fast they follow
        }
    }

    /// Contents without ids.
    static QString written(const SceneSets &sets)
    {
        QString all;
        for (const SceneSet set : bothSets) {
            for (const Layer &each : sets.of(set)[0]->layers) {
                all += u"%1 %2 %3 %4 %5 %6 %7 %8\n"_s.arg(each.name)
                           .arg(each.visible)
                           .arg(each.locked)
                           .arg(each.x)
                           .arg(each.y)
                           .arg(each.w)
                           .arg(each.h)
                           .arg(each.source.value());
            }
            all += u"-\n"_s;
        }
        return all;
    }

private:
    std::size_t pick(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
    }
    std::vector<std::size_t> placesOf(const LayerIds &ids)
    {
        std::vector<std::size_t> places;
        for (const LayerId id : ids) {
            places.push_back(placeOf(m_desk.document().scenes(), id)->layer);
        }
        return places;
    }
    const Scene &scene() { return *m_engine.currentScene(); }
    /// The engine's layers at those places.
    LayerIds engines(const std::vector<std::size_t> &places)
    {
        LayerIds ids;
        for (const std::size_t place : places) {
            ids.push_back(scene().layers.at(place).id);
        }
        return ids;
    }
    void choose(std::size_t layers)
    {
        if (layers > 0 && pick(4) > 0) {
            m_desk.list()->scrollToTop();
            m_desk.clickEntry(int(pick(layers)),
                pick(3) == 0 ? Qt::NoModifier : Qt::ControlModifier);
        } else {
            m_desk.key("canvas", Qt::CTRL | Qt::Key_A);
        }
    }
    void useKey(std::size_t what)
    {
        static constexpr std::array keys { QKeyCombination(Qt::Key_Delete),
            Qt::CTRL | Qt::Key_X,
            Qt::CTRL | Qt::Key_V,
            Qt::CTRL | Qt::Key_D,
            Qt::CTRL | Qt::Key_H,
            Qt::CTRL | Qt::Key_K,
            Qt::ALT | Qt::Key_Up };
        const LayerIds ids = engines(m_places);
        m_desk.key(pick(2) == 0 ? "layers" : "canvas", keys.at(what - 2));
        const std::vector<Layer> taken = layersOf(scene(), ids);
        const auto toggle
            = [&](LayerField field) { m_engine.apply(switched(scene(), ids, field)); };
        switch (what) {
        case 3:
            m_copied = taken.empty() ? m_copied : taken;
            [[fallthrough]];
        case 2:
            return m_engine.apply(removed(ids));
        case 4:
            return m_engine.apply(copiedTo(scene(), m_copied).edits);
        case 5:
            return m_engine.apply(copiedTo(scene(), taken).edits);
        case 6:
            return toggle(LayerField::Visible);
        case 7:
            return toggle(LayerField::Locked);
        default:
            return m_engine.apply(shifted(scene(), ids, 1));
        }
    }
    void dragOnCanvas(std::size_t layer)
    {
        m_placed.clear();
        const QRect room = m_desk.canvas()->rect();
        const QPoint middle = m_desk.middleOf(layer);
        const QPoint from(std::clamp(middle.x(), 0, room.right()),
            std::clamp(middle.y(), 0, room.bottom()));
        const QPoint by(int(pick(200)) - 100, int(pick(100)) - 50);
        m_desk.drag(from, from + by, pick(2) == 0 ? Qt::NoModifier : Qt::AltModifier);
        m_engine.beginGesture();
        for (const Placements &placements : m_placed) {
            std::vector<Edit> edits;
            for (const auto &[id, box] : placements) {
                const LayerId same = engines(placesOf({ id })).front();
                edits.emplace_back(SetField { same, LayerField::Box, box });
            }
            m_engine.apply(edits);
        }
        m_engine.endGesture();
    }
    void drop()
    {
        m_dropped = {};
        m_desk.list()->dropSelected({ 20, int(pick(200)) });
        if (!m_dropped.layers.empty()) {
            m_engine.apply(PlaceLayers { engines(m_places), m_dropped.place });
        }
    }

    GroupDesk &m_desk;
    Document &m_engine;
    std::mt19937 m_random;
    std::vector<std::size_t> m_places; ///< of what is selected
    std::vector<Layer> m_copied;
    std::vector<Placements> m_placed; ///< during one drag
    PlaceLayers m_dropped;
};

} // namespace

/// Several layers at once, by mouse and by key.
class LayerGroupTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { settings().clear(); }

    void severalAreSelectedInTheListAndOnTheCanvas()
    {
        GroupDesk desk;
        QVERIFY(desk.isActive());
        desk.clickEntry(3); // the list shows d first
        desk.clickEntry(1, Qt::ControlModifier);
        QCOMPARE(desk.chosen(), u"aC"_s);
        desk.clickEntry(0, Qt::ShiftModifier);
        QCOMPARE(desk.chosen(), u"acD"_s); // what was added stays
        desk.key("layers", Qt::CTRL | Qt::Key_A);
        QCOMPARE(desk.chosen().size(), 4);
        QVERIFY(!desk.find<QWidget>("layerName")->isVisibleTo(&desk.window)); // of none
        desk.click(desk.middleOf(1));
        QCOMPARE(desk.chosen(), u"B"_s); // a click takes one of several
        QVERIFY(desk.find<QWidget>("layerName")->isVisibleTo(&desk.window));
        desk.click(desk.middleOf(3), Qt::ShiftModifier);
        QCOMPARE(desk.chosen(), u"bD"_s);
        QVERIFY(desk.list()->item(0)->isSelected() && desk.list()->item(2)->isSelected());
        desk.click(desk.middleOf(1), Qt::ControlModifier);
        QCOMPARE(desk.chosen(), u"D"_s);
        desk.click(desk.at(0.5, 0.9));
        QCOMPARE(desk.chosen(), QString());
        QCOMPARE(desk.list()->selectedItems().size(), 0);
    }

    void aBandTakesWhatItTouches()
    {
        GroupDesk desk;
        desk.set(1, LayerField::Locked, true);
        desk.drag(desk.at(0.1, 0.1), desk.at(0.6, 0.4));
        QCOMPARE(desk.chosen(), u"aC"_s);
        desk.drag(desk.at(0.8, 0.1), desk.at(0.9, 0.4), Qt::ControlModifier);
        QCOMPARE(desk.chosen(), u"acD"_s);
        desk.drag(desk.middleOf(1), desk.at(0.6, 0.4)); // from a locked one
        QCOMPARE(desk.chosen(), u"C"_s);
        QVERIFY(desk.document().undoName() != u"Mover fuentes"_s);
    }

    void aGroupMovesInOneStepWithoutWhatIsLocked()
    {
        GroupDesk desk;
        QVERIFY(desk.isActive());
        desk.set(1, LayerField::Locked, true);
        desk.key("canvas", Qt::CTRL | Qt::Key_A);
        const double locked = desk.x(1);
        desk.drag(desk.middleOf(0), desk.middleOf(0) + QPoint(30, 5), Qt::AltModifier);
        const double moved = desk.x(0) - 0.07;
        QVERIFY(moved > 0.01 && qAbs(desk.x(3) - 0.73 - moved) < 1e-9);
        QCOMPARE(desk.x(1), locked);
        QCOMPARE(desk.chosen().size(), 4);
        desk.press("undo");
        QCOMPARE(desk.x(0), 0.07);
        QCOMPARE(desk.x(3), 0.73);

        desk.key("canvas", Qt::CTRL | Qt::Key_A);
        const Box last = boxOf(desk.layers()[3]);
        const QPoint corner = desk.at(last.x + last.w, last.y + last.h);
        desk.drag(corner, corner - QPoint(40, 20), Qt::AltModifier);
        QVERIFY(desk.layers()[3].w < last.w && desk.x(0) == 0.07);
        desk.press("undo");
        QCOMPARE(desk.layers()[3].w, last.w);

        desk.key("canvas", Qt::CTRL | Qt::Key_A);
        desk.key("canvas", Qt::Key_Right);
        desk.key("canvas", Qt::SHIFT | Qt::Key_Down);
        QVERIFY(qAbs(desk.x(3) - 0.73 - 1.0 / 1920) < 1e-9);
        QVERIFY(qAbs(desk.layers()[0].y - 0.3 - 10.0 / 1080) < 1e-9);
        QCOMPARE(desk.x(1), locked);
    }

    void keysChangeAllInOneStep()
    {
        for (const auto &[keys, after, chosen] :
            { std::tuple { QKeyCombination(Qt::Key_Delete), "bd", "B" },
                { Qt::CTRL | Qt::Key_X, "bd", "B" },
                { Qt::CTRL | Qt::Key_D, "abcdac", "aC" },
                { Qt::CTRL | Qt::Key_H, "(a)b(c)d", "aC" },
                { Qt::CTRL | Qt::Key_K, "a!bc!d", "aC" },
                { Qt::ALT | Qt::Key_Up, "badc", "aC" },
                { Qt::ALT | Qt::Key_Down, "acbd", "aC" } }) {
            for (const char *widget : { "layers", "canvas" }) {
                const RowName named(after);
                GroupDesk desk;
                QVERIFY(desk.isActive());
                desk.clickEntry(3);
                desk.clickEntry(1, Qt::ControlModifier);
                desk.key(widget, keys);
                QCOMPARE(desk.state(), QLatin1String(after));
                QCOMPARE(desk.chosen(), QLatin1String(chosen));
                desk.press("undo");
                QCOMPARE(desk.state(), u"abcd"_s);
            }
        }
        GroupDesk desk;
        QVERIFY(desk.isActive());
        desk.key("canvas", Qt::CTRL | Qt::Key_A);
        desk.key("canvas", Qt::CTRL | Qt::Key_C);
        desk.press("editHall");
        desk.setLayers({});
        desk.key("canvas", Qt::CTRL | Qt::Key_V);
        QCOMPARE(desk.state(), u"abcd"_s);
        desk.list()->dropSelected({ 10, 2 }); // all of them: nothing to pass
        QCOMPARE(desk.state(), u"abcd"_s);
    }

    void aDragRestsUnlessAltIsHeldOrTheMagnetIsOff()
    {
        GroupDesk desk;
        QVERIFY(desk.isActive());
        const auto drag = [&desk](Qt::KeyboardModifiers held) {
            const QPoint near = desk.at(0.003, 0.6) - desk.at(0.07, 0.3);
            desk.drag(desk.middleOf(0), desk.middleOf(0) + near, held);
            const double x = desk.x(0);
            desk.press("undo");
            return x;
        };
        QCOMPARE(drag({}), 0.0);
        QVERIFY(drag(Qt::AltModifier) != 0);
        desk.key("canvas", Qt::CTRL | Qt::Key_G);
        QVERIFY(drag({}) != 0);
        desk.press("snapping");
        QCOMPARE(drag({}), 0.0);
    }

    /// Space is TAKE; where there is something to pan it is that when it is held.
    void theViewIsZoomedAndPanned()
    {
        GroupDesk desk;
        QVERIFY(desk.isActive());
        const auto isOnAir = [&desk] { return desk.stage().program.streams() != nullptr; };
        const QRectF whole = desk.canvas()->frameArea();
        desk.zoomIn();
        const QRectF near = desk.canvas()->frameArea();
        QVERIFY(near.width() > 1.9 * whole.width());
        desk.canvas()->setFocus();
        QTest::mouseMove(desk.canvas(), desk.at(0.5, 0.5));
        QTRY_VERIFY(desk.canvas()->underMouse());
        QTest::keyPress(desk.canvas(), Qt::Key_Space);
        desk.drag(desk.at(0.5, 0.5), desk.at(0.5, 0.5) + QPoint(30, 10));
        QTest::keyRelease(desk.canvas(), Qt::Key_Space);
        QCOMPARE(desk.canvas()->frameArea().topLeft(), near.topLeft() + QPointF(30, 10));
        QVERIFY(!isOnAir() && desk.x(1) == fourTexts()[1].x);
        desk.key("canvas", Qt::CTRL | Qt::Key_0);
        QCOMPARE(desk.canvas()->frameArea(), whole);
        const QPointF middle = desk.canvas()->rect().center();
        QNativeGestureEvent pinch(Qt::ZoomNativeGesture,
            QPointingDevice::primaryPointingDevice(),
            2,
            middle,
            middle,
            desk.canvas()->mapToGlobal(middle),
            0.5,
            {});
        QApplication::sendEvent(desk.canvas(), &pinch);
        QVERIFY(qAbs(desk.canvas()->frameArea().width() - 1.5 * whole.width()) < 1);
        QTest::keyClick(desk.canvas(), Qt::Key_Space); // a tap
        QVERIFY(isOnAir());
    }

    /// What the window makes of an operator's drags, drops, keys and undos is what a document alone
    /// makes of the same operations. NIMBARA_DESK_STORM: how many; NIMBARA_STORM_SEED: which.
    void aStormEqualsTheSameAtTheEngine()
    {
        const int count = qEnvironmentVariableIntValue("NIMBARA_DESK_STORM");
        const int seed = qEnvironmentVariableIntValue("NIMBARA_STORM_SEED");
        GroupDesk desk;
        QVERIFY(desk.isActive());
        const SystemClock clock;
        Document engine(clock);
        engine.open(desk.document().project());
        desk.document().open(engine.project());
        Storm storm(desk, engine, unsigned(seed));
        for (int step = 0; step < std::max(count, 120); ++step) {
            storm.step();
            const QString window = Storm::written(desk.document().scenes());
            QVERIFY2(window == Storm::written(engine.scenes()),
                qPrintable(
                    u"seed %1, step %2\n%3\nthe engine:\n%4"_s.arg(seed).arg(step).arg(window,
                        Storm::written(engine.scenes()))));
            QCOMPARE(desk.document().undoName().isEmpty(), engine.undoName().isEmpty());
            QVERIFY(desk.canvas()->selection().in(*desk.document().currentScene())
                == desk.canvas()->selection());
        }
    }
};

NIMBARA_TEST(LayerGroupTest)
#include "layer_group_test.moc"
