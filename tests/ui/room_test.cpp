#include "base/i18n.h"
#include "support/test_registry.h"
#include "support/text_geometry.h"
#include "ui/kit/share_splitter.h"
#include "ui/kit/style.h"
#include "ui/room_desk.h"
#include "ui/shell/monitor_frame.h"
#include "ui/shell/monitor_plan.h"
#include "ui/shell/window_room.h"

#include <QComboBox>
#include <QListWidget>
#include <QScrollArea>
#include <QScrollBar>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr int bars = RoomDesk::bars;

StudioServices remembering()
{
    StudioServices services;
    services.remembersDesk = true;
    return services;
}

} // namespace

/// How the window shares its room.
class RoomTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qApp->setStyleSheet(applicationStyleSheet()); }
    void cleanupTestCase() { qApp->setStyleSheet(QString()); }
    void init() { settings().clear(); }
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    /// One window for all sizes of a language: each takes a while to be made. At 200 % the largest
    /// screen has the room of 1920 × 1080.
    void everythingCanBeReadAndPressedOnAnyScreen()
    {
        std::vector<QSize> screens { { 1024, 600 }, { 1366, 768 }, { 1320, 920 }, { 1920, 1080 } };
        if (qApp->devicePixelRatio() == 1) {
            screens.emplace_back(3840, 2160);
        }
        for (const char *language : { "es", "en" }) {
            nimbara_i18n::language() = QLatin1String(language);
            RoomDesk desk({ 1024, 600 });
            const auto read = [&desk] {
                QCOMPARE(cutOffTexts(desk.window), QString());
                QCOMPARE(overlappingTexts(desk.window), QString());
            };
            for (const QSize screen : screens) {
                const RowName named(
                    qPrintable(u"%1 %2"_s.arg(QLatin1String(language)).arg(screen.width())));
                desk.window.resize(screen - QSize(0, bars));
                RoomDesk::settle();
                QCOMPARE(desk.window.size(), screen - QSize(0, bars));
                desk.walkTabs(read);
                if (screen.width() == 1366) { // the cheapest laptops
                    desk.walkTabs([&desk] { QCOMPARE(buttonsOutOfSight(desk.window), QString()); });
                    desk.walkKinds([&] {
                        read();
                        const auto *fit = desk.find<QPushButton>("fitToFrame");
                        QCOMPARE(fit->visibleRegion().boundingRect(), fit->rect());
                    });
                } else {
                    desk.walkKinds(read);
                }
                if (screen.width() == 1920) {
                    desk.setLayers({ newLayer(LayerKind::Text) });
                    desk.select(0);
                    RoomDesk::settle();
                    read();
                    auto *panel = desk.find<QScrollArea>("properties");
                    QCOMPARE(panel->verticalScrollBar()->maximum(), 0);
                }
            }
        }
    }

    /// Rows that fold away leave their room to those that stay, also when the first steps close.
    void aWindowThatGetsLowerKeepsItsButtons()
    {
        RoomDesk desk({ 1366, 900 });
        RoomDesk::settle();
        QVERIFY(desk.find<QWidget>("sceneTiles")->isVisible());
        desk.window.resize(QSize(1366, 768) - QSize(0, bars));
        QTRY_COMPARE(buttonsOutOfSight(desk.window), QString());
        QVERIFY(!desk.find<QWidget>("sceneTiles")->isVisible());
        desk.press("closeFirstSteps");
        QTRY_VERIFY(desk.find<QWidget>("sceneTiles")->isVisible());
        QTRY_COMPARE(buttonsOutOfSight(desk.window), QString());
    }

    void monitorsTakeTheShapeOfTheirFrames()
    {
        RoomDesk desk({ 1366, 768 });
        for (const auto &[entry, aspect] : { std::pair { 1, 9.0 / 16 }, { 0, 16.0 / 9 } }) {
            desk.find<QComboBox>("format")->setCurrentIndex(entry);
            RoomDesk::settle();
            for (const char *name : { "canvas", "streamsMonitor" }) {
                const QSizeF size = desk.find<QWidget>(name)->size();
                QVERIFY2(qAbs(size.width() - size.height() * aspect) < 2, name);
            }
        }
    }

    void programsStandWhereTheyAreLargest()
    {
        const MonitorShapes wide;
        QVERIFY(!planMonitors({ 1340, 200 }, wide).stacked);
        QVERIFY(planMonitors({ 1000, 700 }, wide).stacked);
        MonitorShapes tall;
        tall.preview = tall.streams = 9.0 / 16;
        QVERIFY(planMonitors({ 1340, 300 }, tall).previewWidth
            < planMonitors({ 1340, 300 }, wide).previewWidth);
    }

    void whatTheOperatorChoseComesBack()
    {
        QSize size;
        QList<int> shares;
        {
            Desk desk(remembering());
            desk.window.resize(1111, 666);
            desk.showTab(3);
            desk.press("foldHeader");
            auto *splitter = desk.find<ShareSplitter>("deskSplitter");
            RoomDesk::settle();
            Q_EMIT splitter->splitterMoved(0, 1);
            splitter->setSizes({ 340, 160 });
            shares = splitter->sizes();
            size = desk.window.size();
            desk.window.close();
        }
        Desk desk(remembering());
        RoomDesk::settle();
        QCOMPARE(desk.window.size(), size);
        QCOMPARE(desk.find<QTabWidget>("tabs")->currentIndex(), 3);
        QCOMPARE(desk.find<ShareSplitter>("deskSplitter")->sizes(), shares);
        const bool folded = !desk.find<QWidget>("language")->isVisible();
        desk.press("foldHeader");
        QCOMPARE(desk.find<QWidget>("language")->isVisible(), folded);
    }

    void itComesBackOnAScreenThatExists()
    {
        QWidget away;
        away.setGeometry(9000, 9000, 1000, 500);
        settings().setValue(u"desk/"_s + screenLayout() + u"/window"_s, away.saveGeometry());
        settings().setValue(u"desk/1x1+0+0/tab"_s, 4); // of other screens
        settings().sync();
        const Desk desk(remembering());
        QVERIFY(desk.window.screen()->geometry().intersects(desk.window.frameGeometry()));
        QCOMPARE(desk.window.findChild<QTabWidget *>(u"tabs"_s)->currentIndex(), 0);
    }

    void whatIsOnAirIsSeenAtAGlance()
    {
        Desk desk;
        desk.setLayers({ newLayer(LayerKind::Color), newLayer(LayerKind::Text) });
        const auto *frame = desk.find<MonitorFrame>("streamsFrame");
        const auto *list = desk.find<QListWidget>("layers");
        const auto *scenes = desk.find<QComboBox>("scenes");
        const auto marked = [&] { return !scenes->itemIcon(scenes->currentIndex()).isNull(); };
        QCOMPARE(frame->text(), u"FUERA DEL AIRE"_s);
        QCOMPARE(desk.find<MonitorFrame>("previewFrame")->tally(), Tally::Preview);

        desk.press("take");
        QTRY_COMPARE(frame->tally(), Tally::OnAir);
        QVERIFY(frame->text().endsWith(desk.document().currentScene()->name));
        QVERIFY(list->item(1)->text().endsWith(u"AL AIRE"_s));
        QVERIFY(marked());
        desk.press("duplicateScene"); // the copy is not on air, nor are its layers
        QVERIFY(!marked());
        QVERIFY(!list->item(1)->text().contains(u"AL AIRE"_s));
        desk.press("offair");
        QTRY_COMPARE(frame->tally(), Tally::Black);
        QVERIFY(desk.find<QLabel>("serviceTime")->text().contains(u':'));
    }
};

NIMBARA_TEST(RoomTest)
#include "room_test.moc"
