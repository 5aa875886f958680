#include "base/i18n.h"
#include "compositor/scene/composer.h"
#include "document/profile.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <QTest>

#include <functional>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr FrameSize size { 320, 180 };
const QColor bandOnBlack(11, 44, 81); // the band's colour at alpha 235

FramePtr filled(std::uint8_t value)
{
    auto frame = std::make_shared<Frame>(size.width, size.height);
    for (std::size_t pixel = 0; pixel < frame->pixels.size(); pixel += 4) {
        std::fill_n(frame->pixels.begin() + static_cast<std::ptrdiff_t>(pixel), 3, value);
    }
    return frame;
}

Layer subtitle()
{
    Layer layer = newLayer(LayerKind::Subtitle);
    layer.x = layer.y = 0;
    layer.w = layer.h = 1;
    layer.background = QColor(0, 0, 0, 0);
    return layer;
}

Shown empty(bool isHall = false)
{
    Shown composition;
    composition.size = size;
    composition.isHall = isHall;
    return composition;
}

Shown withCaptions(const QStringList &phrases, bool isHall = true)
{
    Shown composition = empty(isHall);
    composition.captions = { phrases, QStringLiteral("\n"), true };
    return composition;
}

QImage composed(const Composition &composition)
{
    return Composer(std::make_shared<PaintCache>()).compose(composition);
}

bool isBlack(const QImage &image)
{
    return image == composed(empty());
}

/// Camera, picture, subtitles and title.
Shown busy()
{
    Shown composition = withCaptions({ QStringLiteral("Una"), QStringLiteral("Otra") }, false);
    const PicturedLayer picture(newLayer(LayerKind::Image), filled(90));
    composition.scene.layers = { Layer {}, picture, subtitle() };
    composition.camera = filled(30);
    composition.title = QStringLiteral("Título");
    return composition;
}

} // namespace

class ComposerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void subtitlesAreFilled()
    {
        for (const auto &[phrases, separator, shown, text, newest] :
            { std::tuple { "", "\n", true, "", "" },
                { "a", "\n", true, "a", "" },
                { "abc", " ", true, "a b c", "" },
                { "abc", "\n", true, "a\nb", "c" },
                { "abc", "\n\n", true, "a\n\nb", "\nc" },
                { "abc", "\n", false, "", "" } }) {
            const Captions captions {
                QString(QLatin1String(phrases)).split(QString(), Qt::SkipEmptyParts),
                QLatin1String(separator),
                shown
            };
            for (const bool isPreview : { false, true }) {
                Layer layer = subtitle();
                layer.text = layer.reference = QStringLiteral("viejo");
                fillSubtitle(layer, captions, isPreview);
                if (isPreview && *text == '\0') {
                    QVERIFY(layer.text.startsWith(QStringLiteral("Aquí aparecerá la traducción")));
                } else {
                    QCOMPARE(layer.text, QLatin1String(text));
                }
                QCOMPARE(layer.reference, QLatin1String(newest));
            }
        }
    }

    void placeholderStaysInThePreview()
    {
        Shown composition = empty();
        composition.scene.layers = { subtitle() };
        QVERIFY(isBlack(composed(composition)));
        composition.isHall = true;
        QVERIFY(isBlack(composed(composition)));
        composition.isPreview = true;
        QVERIFY(!isBlack(composed(composition)));
    }

    void titleBandFollowsTitleAndSwitch()
    {
        const QRect band(320 / 25, 180 * 78 / 100, 320 * 23 / 25, 180 * 15 / 100);
        Shown composition = empty();
        composition.band = true;
        const QImage bare = composed(composition);
        QCOMPARE(bare.pixelColor(band.topLeft()), bandOnBlack);
        QCOMPARE(bare.pixelColor(band.bottomRight()), bandOnBlack);
        QCOMPARE(bare.pixelColor(band.topLeft() - QPoint(1, 0)), QColor(Qt::black));
        QCOMPARE(bare.pixelColor(band.bottomRight() + QPoint(0, 1)), QColor(Qt::black));

        composition.band = false;
        composition.title = QStringLiteral("Juan");
        const QImage titled = composed(composition);
        QCOMPARE(titled.pixelColor(band.topLeft()), bandOnBlack);
        QVERIFY(titled != bare); // the text is on it

        composition.isHall = true;
        QVERIFY(isBlack(composed(composition)));
    }

    void automaticCaptionFollowsItsRules()
    {
        const QStringList phrases { QStringLiteral("Una frase") };
        QVERIFY(!isBlack(composed(withCaptions(phrases))));
        QVERIFY(isBlack(composed(withCaptions(phrases, false))));
        QVERIFY(isBlack(composed(withCaptions({}))));

        Shown off = withCaptions(phrases);
        off.captions.shown = false;
        QVERIFY(isBlack(composed(off)));

        Shown hidden = withCaptions(phrases);
        hidden.scene.layers = { subtitle() };
        hidden.scene.layers[0].visible = false;
        QVERIFY(isBlack(composed(hidden)));
    }

    void changeIsDrawn()
    {
        using Change = std::function<void(Shown &)>;
        const std::vector<std::pair<const char *, Change>> changes {
            { "camera frame", [](auto &c) { c.camera = filled(31); } },
            { "equal camera frame", [](auto &c) { c.camera = filled(30); } },
            { "no camera", [](auto &c) { c.camera.reset(); } },
            { "image", [](auto &c) { c.scene.layers[1].image = filled(91); } },
            { "caption", [](auto &c) { c.captions.phrases.append(QStringLiteral("Más")); } },
            { "captions off", [](auto &c) { c.captions.shown = false; } },
            { "title", [](auto &c) { c.title = QStringLiteral("Otro"); } },
            { "box", [](auto &c) { c.scene.layers[1].x += 0.1; } },
            { "opacity", [](auto &c) { c.scene.layers[1].opacity = 0.5; } },
            { "visibility", [](auto &c) { c.scene.layers[1].visible = false; } },
            { "order", [](auto &c) { std::swap(c.scene.layers[0], c.scene.layers[1]); } },
            { "text style", [](auto &c) { c.scene.layers[2].bold = false; } },
            { "size",
                [](auto &c) {
                    c.size = { 180, 320 };
                } },
        };
        for (const auto &[name, change] : changes) {
            Composer composer(std::make_shared<PaintCache>());
            Shown composition = busy();
            const QImage before = composer.compose(composition);
            QCOMPARE(composer.compose(composition).cacheKey(), before.cacheKey());
            change(composition);
            const QImage after = composer.compose(composition);
            QVERIFY2(after.cacheKey() != before.cacheKey(), name);
            QVERIFY2(after == composed(composition), name); // nothing stale in it
        }
    }

    void invisibleChangesAreNotDrawn()
    {
        Composer composer(std::make_shared<PaintCache>());
        Shown composition = empty();
        composition.scene.layers = { newLayer(LayerKind::Color), Layer {} };
        composition.scene.layers[1].visible = false;
        composition.camera = filled(1);
        const qint64 key = composer.compose(composition).cacheKey();
        composition.scene.name = QStringLiteral("Otra");
        composition.scene.layers[0].name = QStringLiteral("Fondo");
        composition.scene.layers[1].x = 0.5;
        composition.camera = filled(2);
        composition.captions.phrases = { QStringLiteral("sin capa") };
        QCOMPARE(composer.compose(composition).cacheKey(), key);
    }

    void composersShareEqualPictures()
    {
        const auto cache = std::make_shared<PaintCache>();
        Composer preview(cache);
        Composer program(cache);
        Shown composition = empty();
        composition.scene.layers = { Layer {} };
        for (std::uint8_t value = 10; value < 15; ++value) {
            composition.camera = filled(value);
            composition.isPreview = true;
            const QImage prepared = preview.compose(composition);
            composition.isPreview = false;
            QCOMPARE(program.compose(composition).cacheKey(), prepared.cacheKey());
        }
        Shown titled = composition;
        titled.title = QStringLiteral("otro");
        QVERIFY(preview.compose(titled) != program.compose(composition));
    }

    void handedOutPicturesNeverChange()
    {
        Composer composer(std::make_shared<PaintCache>());
        Shown composition = empty();
        composition.scene.layers = { Layer {} };
        std::vector<QImage> pictures;
        for (int round = 0; round < 30; ++round) {
            composition.camera = filled(static_cast<std::uint8_t>(round));
            const QImage picture = composer.compose(composition);
            if (round % 2 == 0) {
                pictures.push_back(picture);
            }
        }
        for (std::size_t index = 0; index < pictures.size(); ++index) {
            QCOMPARE(pictures[index].pixelColor(7, 7).red(), static_cast<int>(index * 2));
        }
        // Dropped pictures are drawn on again.
        std::vector<const uchar *> bits;
        for (int round = 100; round < 130; ++round) {
            composition.camera = filled(static_cast<std::uint8_t>(round));
            bits.push_back(composer.compose(composition).constBits());
        }
        std::sort(bits.begin(), bits.end());
        QVERIFY(std::unique(bits.begin(), bits.end()) - bits.begin() <= 3);
    }

    void cacheForgetsWhatNobodyShows()
    {
        const auto cache = std::make_shared<PaintCache>();
        Composer hall(cache);
        Composer streams(cache);
        const Composition still = withCaptions({ QStringLiteral("Queda") });
        const QImage shown = hall.compose(still);
        Shown moving = empty();
        moving.scene.layers = { Layer {}, newLayer(LayerKind::Text) };
        moving.scene.layers[0].w = 0.5; // scaled: a sprite for every frame
        for (int frame = 0; frame < 400; ++frame) {
            moving.camera = filled(static_cast<std::uint8_t>(frame));
            moving.scene.layers[1].text = QString::number(frame / 2);
            (void)streams.compose(moving);
            QVERIFY(cache->spriteCount() < 80);
        }
        QCOMPARE(hall.compose(still).cacheKey(), shown.cacheKey());
        moving.scene.layers.clear();
        for (int frame = 0; frame < 400; ++frame) {
            moving.title = QString(); // nothing but black, drawn anew each time
            moving.size.width = 320 + frame % 2;
            (void)streams.compose(moving);
        }
        QCOMPARE(cache->spriteCount(), std::size_t { 1 }); // the hall's caption
    }
};

NIMBARA_TEST(ComposerTest)
#include "composer_test.moc"
