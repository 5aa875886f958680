#include "compositor/program_state.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;
using nimbara::testing::ManualClock;

namespace {

QImage filled(const QColor &color, QSize size = { 64, 36 })
{
    QImage image(size, QImage::Format_RGBX8888);
    image.fill(color);
    return image;
}

Scene named(const QString &name)
{
    return { name, { Layer {} } };
}

int red(const QImage &image)
{
    return image.pixelColor(30, 20).red();
}

/// A fade from a red picture on air to the new program's black one.
ProgramState fading(const ManualClock &clock)
{
    ProgramState state;
    state.takeStreams(named(QStringLiteral("nueva")),
        {},
        false,
        filled(Qt::red),
        clock.monotonicUs());
    return state;
}

} // namespace

class ProgramStateTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void takeCopiesAndOffAirClears();
    void setsDoNotTouchEachOther();
    void fadeTakesFourTenthsOfASecond();
    void takeDuringAFadeStartsAgain();
    void disabledFadeCuts();
    void clearStopsEverything();
    void picturesHandedOutStayAsTheyWere();
    void otherSizeOnAirIsPaintedAtTheOrigin();
};

void ProgramStateTest::takeCopiesAndOffAirClears()
{
    ProgramState state;
    Scene prepared = named(QStringLiteral("uno"));
    prepared.layers[0].image = std::make_shared<const Frame>(2, 2);
    const FramePtr picture = prepared.layers[0].image;
    state.takeStreams(prepared, QStringLiteral("Título"), true, {}, 0);
    prepared.layers[0].visible = false;
    prepared.layers[0].image = std::make_shared<const Frame>(4, 4);
    prepared.layers.push_back({});

    QCOMPARE(state.streams().layers.size(), std::size_t { 1 });
    QVERIFY(state.streams().layers[0].visible);
    QCOMPARE(state.streams().layers[0].image, picture);
    QCOMPARE(state.title(), QStringLiteral("Título"));
    QVERIFY(state.band());

    state.offAirStreams({}, 0);
    QCOMPARE(state.streams(), Scene());
    QVERIFY(state.title().isEmpty());
    QVERIFY(!state.band());
}

void ProgramStateTest::setsDoNotTouchEachOther()
{
    ProgramState state;
    state.takeStreams(named(QStringLiteral("redes")), {}, false, {}, 0);
    state.takeHall(named(QStringLiteral("sala")));
    state.offAirStreams({}, 0);
    QCOMPARE(state.hall().name, QStringLiteral("sala"));
    state.takeStreams(named(QStringLiteral("redes")), {}, false, {}, 0);
    state.offAirHall();
    QCOMPARE(state.hall(), Scene());
    QCOMPARE(state.streams().name, QStringLiteral("redes"));
}

void ProgramStateTest::fadeTakesFourTenthsOfASecond()
{
    ManualClock clock;
    ProgramState state = fading(clock);
    const QImage fresh = filled(QColor(0, 100, 0));
    int frames = 0;
    for (std::int64_t elapsed = 0; elapsed < 400'000; elapsed += 33'333) {
        const QImage shown = state.fade(fresh, clock.monotonicUs());
        const double gone = static_cast<double>(elapsed) / 400'000;
        const QColor pixel = shown.pixelColor(5, 5);
        QVERIFY(qAbs(pixel.red() - 255 * (1 - gone)) < 2);
        QVERIFY(qAbs(pixel.green() - 100 * gone) < 2);
        QCOMPARE(pixel.alpha(), 255);
        QCOMPARE(shown.constBits()[3], uchar { 255 });
        clock.advanceUs(33'333);
        ++frames;
    }
    QCOMPARE(frames, 13);
    clock.setUs(1'400'000);
    QCOMPARE(state.fade(fresh, clock.monotonicUs()).cacheKey(), fresh.cacheKey());
    QCOMPARE(state.fadeProgress(), 1.0);

    // However many frames are dropped, the fade ends on time.
    ManualClock other;
    ProgramState late = fading(other);
    other.advanceUs(5'000'000);
    QCOMPARE(late.fade(fresh, other.monotonicUs()).cacheKey(), fresh.cacheKey());
}

void ProgramStateTest::takeDuringAFadeStartsAgain()
{
    ManualClock clock;
    ProgramState state = fading(clock);
    clock.advanceUs(200'000);
    QVERIFY(qAbs(red(state.fade(filled(Qt::black), clock.monotonicUs())) - 128) < 3);

    // On air is what the old program looks like without the red still fading out of it.
    state.takeStreams({}, {}, false, filled(QColor(60, 0, 0)), clock.monotonicUs());
    QCOMPARE(state.fadeProgress(), 0.0);
    QVERIFY(qAbs(red(state.fade(filled(Qt::black), clock.monotonicUs())) - 60) < 2);
    clock.advanceUs(300'000);
    QVERIFY(qAbs(red(state.fade(filled(Qt::black), clock.monotonicUs())) - 15) < 2);
}

void ProgramStateTest::disabledFadeCuts()
{
    ProgramState state;
    QVERIFY(state.fadeEnabled());
    state.setFadeEnabled(false);
    const QImage fresh = filled(Qt::green);
    state.takeStreams(named(QStringLiteral("corte")), {}, false, filled(Qt::red), 0);
    QCOMPARE(state.fadeProgress(), 1.0);
    QCOMPARE(state.fade(fresh, 0).cacheKey(), fresh.cacheKey());
    state.offAirStreams(filled(Qt::red), 0);
    QCOMPARE(state.fade(fresh, 1).cacheKey(), fresh.cacheKey());
}

void ProgramStateTest::clearStopsEverything()
{
    ManualClock clock;
    ProgramState state = fading(clock);
    state.takeHall(named(QStringLiteral("sala")));
    state.clear();
    QCOMPARE(state.streams(), Scene());
    QCOMPARE(state.hall(), Scene());
    const QImage black = filled(Qt::black);
    QCOMPARE(state.fade(black, clock.monotonicUs()).cacheKey(), black.cacheKey());
}

void ProgramStateTest::picturesHandedOutStayAsTheyWere()
{
    ManualClock clock;
    ProgramState state = fading(clock);
    const QImage fresh = filled(Qt::black);
    std::vector<QImage> shown;
    std::vector<int> reds;
    for (int i = 0; i < 12; ++i) {
        shown.push_back(state.fade(fresh, clock.monotonicUs()));
        reds.push_back(red(shown.back()));
        clock.advanceUs(33'333);
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        QCOMPARE(red(shown[i]), reds[i]);
    }
    QVERIFY(reds.front() > reds.back());
    QCOMPARE(red(fresh), 0);
}

void ProgramStateTest::otherSizeOnAirIsPaintedAtTheOrigin()
{
    ProgramState state;
    state.takeStreams({}, {}, false, filled(Qt::red, { 36, 64 }), 0);
    const QImage shown = state.fade(filled(Qt::black), 0);
    QCOMPARE(shown.size(), QSize(64, 36));
    QVERIFY(shown.pixelColor(10, 10).red() > 250);
    QCOMPARE(shown.pixelColor(50, 10), QColor(Qt::black));
}

NIMBARA_TEST(ProgramStateTest)
#include "program_state_test.moc"
