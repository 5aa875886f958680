#include "compositor/scene/composer.h"
#include "compositor/text/legibility.h"
#include "document/layer_geometry.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <array>
#include <cmath>
#include <map>
#include <numeric>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

QImage composed(const std::vector<PicturedLayer> &layers)
{
    Shown shown;
    shown.layers = layers;
    return Composer(std::make_shared<PaintCache>()).compose(shown);
}

/// 0: black; 1: white; 2: a gradient; 3: noise; 4: a checkerboard of large squares.
PicturedLayer background(int kind)
{
    auto frame = std::make_shared<Frame>(shownSize.width, shownSize.height);
    std::minstd_rand dice(7); // always the same // NOLINT(cert-msc51-cpp)
    for (int i = 0; i < shownSize.width * shownSize.height; ++i) {
        const int x = i % shownSize.width;
        const int y = i / shownSize.width;
        const std::array greys { 0,
            255,
            x * 255 / shownSize.width,
            static_cast<int>(dice() % 256),
            (x / 40 + y / 40) % 2 * 255 };
        for (int channel = 0; channel < 3; ++channel) {
            frame->pixels[static_cast<std::size_t>(i * 4 + channel)]
                = static_cast<std::uint8_t>(greys.at(static_cast<std::size_t>(kind)));
        }
    }
    Layer layer = newLayer(LayerKind::Image);
    setBox(layer, fullFrame);
    return { layer, frame };
}

Layer text(QColor color, bool outline, int boxAlpha, int size = 150)
{
    Layer layer = newLayer(LayerKind::Text);
    setBox(layer, { 0.1, 0.35, 0.8, 0.3 });
    layer.text = u"Dios es amor"_s;
    layer.size = size;
    layer.color = color;
    layer.shadow = outline;
    layer.background = QColor(0, 0, 0, boxAlpha);
    return layer;
}

std::optional<double> measured(const Layer &layer, const QImage &picture)
{
    GlyphInk glyphs;
    const QRect canvas(0, 0, shownSize.width, shownSize.height);
    return textContrast(*layerText(layer, canvas, shownSize.height, canvas), picture, glyphs);
}

double lightOf(QColor color)
{
    const auto part = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF())
        + 0.0722 * part(color.blueF());
}

/// The same measure, pixel by pixel from composed pictures alone.
double expected(Layer layer, const QImage &picture)
{
    layer.color = Qt::white;
    layer.shadow = false;
    layer.background = QColor(0, 0, 0, 0);
    const QImage ink = composed({ layer });
    const int letter = shownSize.height * layer.size / 1080;
    const int radius = std::max(letter / 20, 2);
    const auto inkAt = [&](int x, int y) { return ink.valid(x, y) ? qRed(ink.pixel(x, y)) : 0; };
    std::map<std::pair<int, int>, std::array<std::vector<double>, 2>> squares;
    for (int y = shownSize.height / 4; y < shownSize.height * 3 / 4; ++y) { // all that it reaches
        for (int x = 0; x < shownSize.width; ++x) {
            bool isNearInk = false;
            for (int k = 0; k < (2 * radius + 1) * (2 * radius + 1); ++k) {
                const int beside = k % (2 * radius + 1) - radius;
                isNearInk |= inkAt(x + beside, y + k / (2 * radius + 1) - radius) >= 128;
            }
            const int covered = inkAt(x, y);
            if (isNearInk && (covered >= 250 || covered <= 8)) {
                const int side = std::max(letter, 16);
                squares[{ x / side, y / side }][covered >= 250 ? 1 : 0].push_back(
                    lightOf(picture.pixelColor(x, y)));
            }
        }
    }
    std::vector<double> ratios;
    for (const auto &[place, lights] : squares) {
        const auto mean = [](const std::vector<double> &of) {
            return std::accumulate(of.begin(), of.end(), 0.0) / static_cast<double>(of.size());
        };
        if (std::min(lights[0].size(), lights[1].size()) >= 12) {
            const auto [low, high] = std::minmax({ mean(lights[0]), mean(lights[1]) });
            ratios.push_back((high + 0.05) / (low + 0.05));
        }
    }
    std::ranges::sort(ratios);
    return ratios.at(ratios.size() / 10);
}

} // namespace

class LegibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void measuresWhatTheEyeGets()
    {
        int pictures = 0;
        for (int behind = 0; behind < 5; ++behind) {
            for (const QColor &color :
                { QColor(Qt::white), QColor(90, 90, 90), QColor(255, 220, 0) }) {
                for (const auto &[outline, box] :
                    { std::pair(false, 0), { true, 0 }, { false, 150 }, { true, 90 } }) {
                    const Layer layer = text(color, outline, box);
                    const QImage picture = composed({ background(behind), layer });
                    const auto ratio = measured(layer, picture);
                    const double right = expected(layer, picture);
                    QVERIFY2(ratio && std::abs(*ratio - right) < 0.2,
                        qPrintable(u"behind %1, %2, outline %3, box %4: %5 for %6"_s.arg(behind)
                                       .arg(color.name())
                                       .arg(outline)
                                       .arg(box)
                                       .arg(ratio.value_or(0))
                                       .arg(right)));
                    ++pictures;
                }
            }
        }
        QCOMPARE(pictures, 60);
        const Layer blank = text(Qt::white, false, 0);
        QVERIFY(*measured(blank, composed({ background(1), blank })) < 1.1);
        QVERIFY(*measured(blank, composed({ background(0), blank })) > 20);
        Layer empty = blank;
        empty.text.clear();
        QVERIFY(!measured(empty, composed({ empty })));
    }

    /// Whatever the colour and whatever is behind; what is legible already is not asked.
    void onePressMendsIt()
    {
        for (const QColor &color : { QColor(Qt::white),
                 QColor(Qt::black),
                 QColor(128, 128, 128),
                 QColor(118, 118, 118),
                 QColor(255, 0, 0),
                 QColor(0, 0, 255),
                 QColor(255, 220, 0) }) {
            for (const auto &[outline, width, opacity] : { std::tuple(false, 100, 1.0),
                     { true, 100, 1.0 },
                     { true, 0, 1.0 },
                     { false, 50, 1.0 },
                     { false, 100, 0.8 }, // it was as if nothing showed through
                     { true, 50, 0.7 } }) {
                Layer pale = text(color, outline, 0);
                pale.outlineWidth = width;
                pale.opacity = opacity;
                const auto layer = madeLegible(pale);
                QCOMPARE(layer.has_value(), opacity * 100 >= *legibleFrom(pale));
                for (int behind = 0; layer && behind < 5; ++behind) {
                    const auto ratio = measured(*layer, composed({ background(behind), *layer }));
                    QVERIFY2(ratio && *ratio >= leastContrast,
                        qPrintable(u"%1 outline %2 of %3 at %4 behind %5: %6"_s.arg(color.name())
                                       .arg(outline)
                                       .arg(width)
                                       .arg(opacity)
                                       .arg(behind)
                                       .arg(ratio.value_or(0))));
                }
            }
        }
        Layer faint = text(Qt::white, false, 0);
        QVERIFY(*legibleFrom(faint) <= 70); // and no more than it must be
        faint.opacity = 0.3;
        QVERIFY(!madeLegible(faint));
    }
};

NIMBARA_TEST(LegibilityTest)
#include "legibility_test.moc"
