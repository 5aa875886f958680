#include "document/layer_geometry.h"
#include "studio/check/first_steps.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QSet>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A countdown that fills the frame.
Layer countdown(std::int32_t seconds)
{
    Layer layer = newLayer(LayerKind::Clock);
    layer.clockShows = clock_shows::duration;
    layer.duration = seconds;
    setBox(layer, fullFrame);
    return layer;
}

struct CountdownFixture : StudioFixture {
    CountdownFixture() { studio.stage().program.setFadeEnabled(false); }
    Countdowns &countdowns() { return studio.stage().countdowns; }
    QString reads(std::size_t place = 0) { return clockText(layer(place), countdowns().reading()); }
    void pass(std::int64_t seconds) { frame(seconds * 1'000'000); }
};

} // namespace

/// Countdowns that the operator starts, and the list of first steps.
class CountdownsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bothProgramsShowTheSameSecondOnTheSameFrame()
    {
        CountdownFixture desk;
        desk.take({ countdown(60) });
        Layer copy = desk.layer(0); // as the operator's keys make one
        copy.id = LayerId::make();
        desk.studio.program().setEditSet(1);
        desk.take({ copy });
        desk.countdowns().toggle(desk.layer(0)); // after both are on air
        QSet<qint64> seen;
        for (int frame = 0; frame < 91; ++frame) {
            desk.frame();
            QCOMPARE(desk.pictures.streams.cacheKey(), desk.pictures.hall.cacheKey());
            seen << desk.pictures.hall.cacheKey();
        }
        QCOMPARE(seen.size(), 4); // 60 to 57, drawn once each
    }

    void itGoesOnThroughEditsAndUndo()
    {
        CountdownFixture desk;
        desk.setLayers({ countdown(60) });
        desk.countdowns().toggle(desk.layer(0));
        desk.pass(10);
        desk.set(0, LayerField::Duration, std::int32_t { 120 });
        QCOMPARE(desk.reads(), u"01:50"_s);
        desk.studio.document().undo();
        QCOMPARE(desk.reads(), u"00:50"_s);
        const LayerId id = desk.layer(0).id;
        desk.studio.document().apply(DeleteLayer { id });
        desk.pass(5);
        desk.studio.document().undo();
        QCOMPARE(desk.reads(), u"00:45"_s);
        QVERIFY(desk.countdowns().isRunning(desk.layer(0)));
    }

    void itIsPausedPutBackAndBeginsAnew()
    {
        CountdownFixture desk;
        desk.setLayers({ countdown(3) });
        const auto toggle = [&] { desk.countdowns().toggle(desk.layer(0)); };
        toggle();
        desk.pass(1);
        toggle();
        desk.pass(100);
        QCOMPARE(desk.reads(), u"00:02"_s);
        toggle();
        desk.pass(1);
        QCOMPARE(desk.reads(), u"00:01"_s);
        desk.countdowns().reset(desk.layer(0).source);
        desk.pass(1);
        QCOMPARE(desk.reads(), u"00:03"_s);
        QVERIFY(!desk.countdowns().isRunning(desk.layer(0)));
        toggle();
        desk.pass(4);
        QVERIFY(!desk.countdowns().isRunning(desk.layer(0))); // it has run out
        toggle();
        desk.pass(1);
        QCOMPARE(desk.reads(), u"00:02"_s);
    }

    /// Its small picture follows it, once a second at most.
    void tilesFollowTheClock()
    {
        CountdownFixture desk;
        desk.setLayers({ countdown(60) });
        int made = 0;
        auto *tiles = &desk.studio.scenePictures();
        QObject::connect(tiles, &ScenePictures::made, tiles, [&made] { ++made; });
        tiles->setShown(true);
        const auto seconds = [&](int count) {
            for (int frame = 0; frame < 30 * count; ++frame) {
                desk.frame();
                desk.studio.tick();
            }
        };
        seconds(3);
        QCOMPARE(made, 1);
        desk.countdowns().toggle(desk.layer(0));
        seconds(5);
        QVERIFY2(made >= 4 && made <= 7, qPrintable(QString::number(made)));
    }

    /// What the studio has never done is not told as done, and what was done stays so.
    void firstStepsAreSeenByTheStateOfTheStudio()
    {
        StudioFixture desk;
        desk.studio.settings().remove(u"first_steps"_s);
        FirstSteps steps(desk.studio, desk.studio.settings());
        const auto done = [](const FirstSteps &of) {
            QString bits;
            for (const FirstStep step : firstSteps) {
                bits += of.isDone(step) ? u'1' : u'0';
            }
            return bits;
        };
        steps.look();
        QCOMPARE(done(steps), u"000000"_s); // the bars are no camera
        desk.studio.setHallShown(true);
        desk.studio.streams().setSelected(0, true);
        steps.look();
        QCOMPARE(done(steps), u"001000"_s); // without a key it goes nowhere
        desk.studio.setHallShown(false);
        const auto keepKey = [&desk](const QString &key) {
            bool written = false;
            desk.studio.secrets().writeSecret(secret_account::stream(u"YouTube"_s),
                key,
                [&written](bool) { written = true; });
            return QTest::qWaitFor([&written] { return written; }, 60'000);
        };
        QVERIFY(keepKey(u"k3y"_s)); // in the store, from where a start would take it
        QTRY_VERIFY((steps.look(), steps.isDone(FirstStep::Destination)));
        QVERIFY(desk.studio.streams().key(0).isEmpty());
        QVERIFY(keepKey(QString()));
        desk.studio.document().apply(DuplicateScene { desk.scene().id });
        QTemporaryDir folder;
        desk.studio.recordings().start(folder.filePath(u"a.mp4"_s));
        QVERIFY(desk.runUntil([&] { return steps.isDone(FirstStep::Recording); }));
        QCOMPARE(done(steps), u"001111"_s);
        desk.studio.recordings().finish();
        QVERIFY(desk.runUntil([&] { return !desk.studio.hasOutputs(); }));

        steps.setClosed(true);
        const FirstSteps later(desk.studio, desk.studio.settings());
        QCOMPARE(done(later), u"001111"_s);
        QVERIFY(later.isClosed() && !later.areAllDone());
    }
};

NIMBARA_TEST(CountdownsTest)
#include "countdowns_test.moc"
