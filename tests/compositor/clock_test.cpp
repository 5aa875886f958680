#include "base/i18n.h"
#include "compositor/scene/clock_text.h"
#include "compositor/text/legibility.h"
#include "compositor/text/text_overflow.h"
#include "document/layer_geometry.h"
#include "document/profile.h"
#include "document/scene_templates.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <QDateTime>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

std::int64_t wallAt(int hour, int minute, int second, int ms = 0)
{
    return QDateTime(QDate(2026, 3, 1), QTime(hour, minute, second, ms)).toMSecsSinceEpoch();
}

Layer clockLayer(std::int32_t shows)
{
    Layer layer = newLayer(LayerKind::Clock);
    layer.clockShows = shows;
    setBox(layer, fullFrame);
    return layer;
}

Composition at(const Layer &layer, std::int64_t wallMs)
{
    Shown shown;
    shown.layers = { layer };
    Composition composition = shown;
    composition.clocks.wallMs = wallMs;
    return composition;
}

Layer textLayer(const QString &text)
{
    Layer layer = newLayer(LayerKind::Text);
    layer.text = text;
    setBox(layer, fullFrame);
    return layer;
}

bool isWithinTheFrame(const Box &box)
{
    return box.x >= 0 && box.y >= 0 && box.x + box.w <= 1.0001 && box.y + box.h <= 1.0001;
}

/// What is wrong with it in the frame; empty when nothing is.
QString faultOf(const Layer &layer, FrameSize frame)
{
    if (!isWithinTheFrame(boxOf(layer))) {
        return u"reaches out of the frame"_s;
    }
    if (!isText(layer.kind)) {
        return {};
    }
    Layer shown = layer;
    if (layer.kind == LayerKind::Clock) {
        shown.text = u"1:00:00"_s;
    } else if (layer.kind == LayerKind::Subtitle) {
        shown.text = u"Una frase corta."_s;
    }
    return layer.size < leastLetters    ? u"has small letters"_s
        : hiddenLines(shown, frame) > 0 ? u"hides lines"_s
                                        : QString();
}

} // namespace

/// Clock layers, the look of texts, and the scenes that are drawn with them.
class ClockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    void readsTheTimeAndWhatIsLeft()
    {
        constexpr auto half = 10 * 60 + 30;
        for (const auto &[shows, wall, elapsed, length, text, reads] :
            { std::tuple { clock_shows::time, wallAt(9, 5, 7, 999), 0, 1, "x", "09:05" },
                { clock_shows::timeInSeconds, wallAt(9, 5, 7, 999), 0, 1, "x", "09:05:07" },
                { clock_shows::untilTime, wallAt(10, 29, 59, 1), 0, 1, "", "00:01" },
                { clock_shows::untilTime, wallAt(9, 30, 0), 0, 1, "", "1:00:00" },
                { clock_shows::untilTime, wallAt(9, 30, 0, 1), 0, 1, "", "1:00:00" },
                { clock_shows::untilTime, wallAt(9, 30, 1), 0, 1, "", "59:59" },
                { clock_shows::untilTime, wallAt(10, 30, 0), 0, 1, "", "00:00" },
                { clock_shows::untilTime, wallAt(10, 30, 0), 0, 1, "Ya", "Ya" },
                { clock_shows::untilTime, wallAt(22, 30, 0), 0, 1, "Ya", "Ya" },
                { clock_shows::untilTime, wallAt(22, 31, 0), 0, 1, "", "11:59:00" }, // tomorrow
                { clock_shows::duration, wallAt(0, 0, 0), 0, 300, "Ya", "05:00" },
                { clock_shows::duration, wallAt(0, 0, 0), 1, 300, "Ya", "05:00" },
                { clock_shows::duration, wallAt(0, 0, 0), 1000, 300, "Ya", "04:59" },
                { clock_shows::duration, wallAt(0, 0, 0), 299'999, 300, "Ya", "00:01" },
                { clock_shows::duration, wallAt(0, 0, 0), 300'000, 300, "Ya", "Ya" },
                { clock_shows::duration, wallAt(0, 0, 0), 900'000, 300, "", "00:00" },
                { clock_shows::duration, wallAt(0, 0, 0), 0, 86'399, "", "23:59:59" } }) {
            Layer layer = clockLayer(shows);
            layer.untilMinute = half;
            layer.duration = length;
            layer.text = QLatin1String(text);
            QCOMPARE(clockText(layer, { wall, { { layer.source, elapsed } } }),
                QLatin1String(reads));
        }
    }

    /// The tick draws nothing until the layer reads otherwise, whatever it may count to.
    void isDrawnOnlyWhenItReadsOtherwise()
    {
        const Layer minutes = clockLayer(clock_shows::time);
        const Layer seconds = clockLayer(clock_shows::timeInSeconds);
        Layer left = clockLayer(clock_shows::untilTime);
        left.untilMinute = 12 * 60;
        for (const auto &[layer, pictures] :
            { std::pair { minutes, 1 }, { seconds, 3 }, { left, 3 } }) {
            Composer composer(std::make_shared<PaintCache>());
            qint64 last = 0;
            int drawn = 0;
            for (int frame = 0; frame < 90; ++frame) {
                const std::int64_t wall = wallAt(11, 0, 0) + 1 + frame * 100 / 3;
                const qint64 key = composer.compose(at(layer, wall)).cacheKey();
                drawn += std::exchange(last, key) == key ? 0 : 1;
            }
            QCOMPARE(drawn, pictures);
        }
    }

    /// Layers that read the same look the same, though one counts and the other does not.
    void looksAsATextDoes()
    {
        Layer words = clockLayer(clock_shows::time);
        words.kind = LayerKind::Text;
        words.text = u"11:00"_s;
        const auto cache = std::make_shared<PaintCache>();
        QCOMPARE(Composer(cache).compose(at(clockLayer(clock_shows::time), wallAt(11, 0, 0))),
            Composer(cache).compose(at(words, 0)));
    }

    void capitalsAreShownWhateverIsWritten()
    {
        Layer small = textLayer(u"ábrete ñandú"_s);
        small.upperCase = true;
        const auto cache = std::make_shared<PaintCache>();
        QCOMPARE(Composer(cache).compose(at(small, 0)),
            Composer(cache).compose(at(textLayer(u"ÁBRETE ÑANDÚ"_s), 0)));
    }

    /// The room that lines take is known to whoever asks whether a text fits.
    void linesStandFurtherApart()
    {
        Layer layer = textLayer(u"uno\ndos\ntres"_s);
        const FrameSize frame = landscapeSize;
        layer.h = 0.25;
        QCOMPARE(hiddenLines(layer, frame), 0);
        layer.spacing = 200;
        QVERIFY(hiddenLines(layer, frame) > 0);
        Layer verse = newLayer(LayerKind::Verse);
        verse.text = u"palabra "_s.repeated(60).trimmed();
        verse.smallest = 100;
        VersePager pager;
        const std::size_t usual = pager.pages(verse, frame).pages.size();
        verse.spacing = 200;
        const VersePages &spaced = pager.pages(verse, frame);
        QVERIFY(spaced.pages.size() > usual);
        for (const VersePage &page : spaced.pages) {
            Layer shown = verse;
            shown.text = page.text;
            QCOMPARE(hiddenLines(shown, frame), 0);
        }
    }

    void templatesFitEveryFrame()
    {
        for (const char *language : { "es", "en" }) {
            nimbara_i18n::language() = QLatin1String(language);
            for (const auto &[set, frame] : { std::pair { SceneSet::Streams, landscapeSize },
                     { SceneSet::Streams, portraitSize },
                     { SceneSet::Hall, hallSize } }) {
                SceneSets scenes;
                for (const SceneTemplate which : sceneTemplates) {
                    const Scene scene = templateScene(which, scenes, set, frame);
                    for (const Layer &layer : scene.layers) {
                        const RowName named(qPrintable(scene.name + u" · "_s + layer.name));
                        QCOMPARE(faultOf(layer, frame), QString());
                        QVERIFY(set == SceneSet::Streams || layer.kind != LayerKind::Camera);
                    }
                    QVERIFY(!scene.name.endsWith(u'2'));
                    scenes.of(set).push_back(std::make_shared<const Scene>(scene));
                    QCOMPARE(templateScene(which, scenes, set, frame).name, scene.name + u" 2"_s);
                }
            }
        }
    }
};

NIMBARA_TEST(ClockTest)
#include "clock_test.moc"
