#include "compositor/scene/program_state.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;

namespace {

QImage filled(const QColor &color, QSize size = { 64, 36 })
{
    QImage image(size, QImage::Format_RGBX8888);
    image.fill(color);
    return image;
}

/// A fade from a red picture on air to the new program's, begun at 0.
ProgramState fading(QSize onAir = { 64, 36 })
{
    ProgramState state;
    state.takeStreams(makeScene({}, { Layer {} }), {}, false, filled(Qt::red, onAir), 0);
    return state;
}

} // namespace

/// The fade itself; what TAKE and OFF AIR do to the programs is shown in the studio.
class ProgramStateTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyFrameOfTheFade()
    {
        ProgramState state = fading();
        const QImage fresh = filled(QColor(0, 100, 0));
        std::vector<QImage> shown; // what was handed out stays as it was
        for (std::int64_t at = 0; at < ProgramState::fadeUs; at += 33'333) {
            shown.push_back(state.fade(fresh, at));
        }
        QCOMPARE(shown.size(), std::size_t { 13 });
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const double gone = static_cast<double>(i) * 33'333 / 400'000;
            const QColor pixel = shown[i].pixelColor(5, 5);
            QVERIFY(qAbs(pixel.red() - 255 * (1 - gone)) < 2);
            QVERIFY(qAbs(pixel.green() - 100 * gone) < 2);
            QCOMPARE(shown[i].constBits()[3], uchar { 255 });
        }
        QCOMPARE(state.fade(fresh, ProgramState::fadeUs).cacheKey(), fresh.cacheKey());
        QCOMPARE(fresh, filled(QColor(0, 100, 0)));

        // However many frames are dropped, the fade ends on time.
        ProgramState late = fading();
        QCOMPARE(late.fade(fresh, 5'000'000).cacheKey(), fresh.cacheKey());
    }

    void clearStopsEverything()
    {
        ProgramState state = fading();
        state.takeHall(makeScene(QStringLiteral("sala"), { Layer {} }));
        state.clear();
        QVERIFY(!state.streams() && !state.hall());
        const QImage black = filled(Qt::black);
        QCOMPARE(state.fade(black, 0).cacheKey(), black.cacheKey());
    }

    void otherSizeOnAirIsPaintedAtTheOrigin()
    {
        ProgramState state = fading({ 36, 64 });
        const QImage shown = state.fade(filled(Qt::black), 0);
        QCOMPARE(shown.size(), QSize(64, 36));
        QVERIFY(shown.pixelColor(10, 10).red() > 250);
        QCOMPARE(shown.pixelColor(50, 10), QColor(Qt::black));
    }
};

NIMBARA_TEST(ProgramStateTest)
#include "program_state_test.moc"
