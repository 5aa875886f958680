#include "support/test_registry.h"
#include "translation/pipeline/phrase_delay.h"

using namespace nimbara;

class PhraseDelayTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsOfTheLastFiveMinutes()
    {
        DelayMeter meter;
        QCOMPARE(meter.figures(0).phrases, std::size_t { 0 });
        add(meter, 0, 9000); // too long ago
        for (int i = 1; i <= 10; ++i) {
            add(meter, 100'000 + i, i * 100);
        }
        const auto figures = meter.figures(400'000);
        QCOMPARE(figures.phrases, std::size_t { 10 });
        QCOMPARE(figures.medianMs, 500);
        QCOMPARE(figures.p90Ms, 900);
        // A fifth each, but for what was not held; the last stage has the rest.
        QCOMPARE(figures.stageMs, (std::array<std::int64_t, 6> { 100, 100, 100, 100, 0, 100 }));
        QCOMPARE(meter.whole().phrases, std::size_t { 11 });
    }

    void tellsWhenItGrows()
    {
        for (const auto &[late, count, grows] :
            { std::tuple { 3100, 3, true }, { 3100, 2, false }, { 3000, 3, false } }) {
            DelayMeter meter;
            for (int i = 0; i < 20; ++i) {
                add(meter, i * 10'000, 2000);
            }
            for (int i = 0; i < count; ++i) {
                add(meter, 295'000 + i, late);
            }
            QCOMPARE(meter.figures(300'000).grows, grows);
        }
    }

    void drawsTenSecondsAPoint()
    {
        DelayMeter meter;
        add(meter, 3'005'000, 1000);
        add(meter, 3'005'001, 3000);
        add(meter, 3'299'999, 2000);
        const QList<std::int64_t> points = meter.curve(3'299'999);
        QCOMPARE(points.size(), DelayMeter::curvePoints);
        QCOMPARE(points.first(), 1000);
        QCOMPARE(points.at(1), -1);
        QCOMPARE(points.last(), 2000);
        QCOMPARE(meter.curve(3'300'000).last(), -1); // and all move along
    }

private:
    static void add(DelayMeter &meter, std::int64_t shown, std::int64_t delay)
    {
        const std::int64_t step = delay / 5;
        const std::int64_t spoken = shown - delay;
        meter.add({ spoken,
            spoken + step,
            spoken + 2 * step,
            spoken + 3 * step,
            spoken + 4 * step,
            spoken + 4 * step,
            shown });
    }
};

NIMBARA_TEST(PhraseDelayTest)
#include "phrase_delay_test.moc"
