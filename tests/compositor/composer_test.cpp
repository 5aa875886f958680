#include "app/i18n.h"
#include "compositor/composer.h"
#include "scene/profile.h"
#include "support/test_registry.h"

#include <QTest>

#include <functional>

using namespace nimbara;

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

Composition empty(bool isHall = false)
{
    Composition composition;
    composition.size = size;
    composition.isHall = isHall;
    return composition;
}

Composition withCaptions(const QStringList &phrases, bool isHall = true)
{
    Composition composition = empty(isHall);
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

QStringList texts(const Scene &scene)
{
    return { scene.layers.at(0).text, scene.layers.at(0).reference };
}

} // namespace

class ComposerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void subtitlesAreFilled_data();
    void subtitlesAreFilled();
    void placeholderStaysInThePreview();
    void titleBandFollowsTitleAndSwitch();
    void automaticCaptionFollowsItsRules();
    void unchangedCompositionHandsItsPictureOn();
    void changeIsDrawn_data();
    void changeIsDrawn();
    void invisibleChangesAreNotDrawn();
    void composersShareEqualPictures();
    void handedOutPicturesNeverChange();
    void cacheForgetsWhatNobodyShows();
};

void ComposerTest::subtitlesAreFilled_data()
{
    QTest::addColumn<QStringList>("phrases");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<QStringList>("expected"); ///< text and second text
    const QString blank = QStringLiteral(" ");
    const QString line = QStringLiteral("\n");
    const QString gap = QStringLiteral("\n\n");
    const QStringList three { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") };
    QTest::newRow("none") << QStringList() << line << true << QStringList { {}, {} };
    QTest::newRow("one") << three.mid(0, 1) << line << true
                         << QStringList { QStringLiteral("a"), {} };
    QTest::newRow("flowing") << three << blank << true
                             << QStringList { QStringLiteral("a b c"), {} };
    QTest::newRow("lines") << three << line << true
                           << QStringList { QStringLiteral("a\nb"), QStringLiteral("c") };
    QTest::newRow("gaps") << three << gap << true
                          << QStringList { QStringLiteral("a\n\nb"), QStringLiteral("\nc") };
    QTest::newRow("switched off") << three << line << false << QStringList { {}, {} };
}

void ComposerTest::subtitlesAreFilled()
{
    QFETCH(QStringList, phrases);
    QFETCH(QString, separator);
    QFETCH(bool, shown);
    QFETCH(QStringList, expected);
    Scene scene { {}, { subtitle() } };
    scene.layers[0].text = QStringLiteral("viejo");
    scene.layers[0].reference = QStringLiteral("viejo");
    scene.layers[0].visible = false;
    fillSubtitles(scene, { phrases, separator, shown }, false);
    QCOMPARE(texts(scene), expected);

    Scene preview { {}, { subtitle(), newLayer(LayerKind::Verse) } };
    const QString verse = preview.layers[1].text;
    fillSubtitles(preview, { phrases, separator, shown }, true);
    if (expected[0].isEmpty()) {
        QVERIFY(preview.layers[0].text.startsWith(QStringLiteral("Aquí aparecerá la traducción")));
    } else {
        QCOMPARE(texts(preview), expected);
    }
    QCOMPARE(preview.layers[1].text, verse);
}

void ComposerTest::placeholderStaysInThePreview()
{
    Composition composition = empty();
    composition.scene.layers = { subtitle() };
    QVERIFY(isBlack(composed(composition)));
    composition.isHall = true;
    QVERIFY(isBlack(composed(composition)));
    composition.isPreview = true;
    QVERIFY(!isBlack(composed(composition)));
}

void ComposerTest::titleBandFollowsTitleAndSwitch()
{
    const QRect band(320 / 25, 180 * 78 / 100, 320 * 23 / 25, 180 * 15 / 100);
    Composition composition = empty();
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

void ComposerTest::automaticCaptionFollowsItsRules()
{
    const QStringList phrases { QStringLiteral("Una frase") };
    QVERIFY(!isBlack(composed(withCaptions(phrases))));
    QVERIFY(isBlack(composed(withCaptions(phrases, false))));
    QVERIFY(isBlack(composed(withCaptions({}))));

    Composition off = withCaptions(phrases);
    off.captions.shown = false;
    QVERIFY(isBlack(composed(off)));

    Composition hidden = withCaptions(phrases);
    hidden.scene.layers = { subtitle() };
    hidden.scene.layers[0].visible = false;
    QVERIFY(isBlack(composed(hidden)));
}

void ComposerTest::unchangedCompositionHandsItsPictureOn()
{
    Composer composer(std::make_shared<PaintCache>());
    Composition composition = withCaptions({ QStringLiteral("Una"), QStringLiteral("Otra") });
    Layer picture = newLayer(LayerKind::Image);
    picture.image = filled(90);
    composition.scene.layers = { Layer {}, picture, subtitle() };
    composition.camera = filled(30);
    const qint64 key = composer.compose(composition).cacheKey();
    QCOMPARE(composer.compose(composition).cacheKey(), key);
}

void ComposerTest::changeIsDrawn_data()
{
    using Change = std::function<void(Composition &)>;
    QTest::addColumn<QVariant>("change");
    const auto row = [](const char *name, const Change &change) {
        QTest::newRow(name) << QVariant::fromValue(std::make_shared<Change>(change));
    };
    row("camera frame", [](Composition &c) { c.camera = filled(31); });
    row("equal camera frame", [](Composition &c) { c.camera = filled(30); });
    row("no camera", [](Composition &c) { c.camera.reset(); });
    row("image", [](Composition &c) { c.scene.layers[1].image = filled(91); });
    row("caption", [](Composition &c) { c.captions.phrases.append(QStringLiteral("Más")); });
    row("captions off", [](Composition &c) { c.captions.shown = false; });
    row("title", [](Composition &c) { c.title = QStringLiteral("Otro"); });
    row("box", [](Composition &c) { c.scene.layers[1].x += 0.1; });
    row("opacity", [](Composition &c) { c.scene.layers[1].opacity = 0.5; });
    row("visibility", [](Composition &c) { c.scene.layers[1].visible = false; });
    row("order", [](Composition &c) { std::swap(c.scene.layers[0], c.scene.layers[1]); });
    row("text style", [](Composition &c) { c.scene.layers[2].bold = false; });
    row("size", [](Composition &c) { c.size = { 180, 320 }; });
}

void ComposerTest::changeIsDrawn()
{
    QFETCH(QVariant, change);
    Composer composer(std::make_shared<PaintCache>());
    Composition composition
        = withCaptions({ QStringLiteral("Una"), QStringLiteral("Otra") }, false);
    Layer picture = newLayer(LayerKind::Image);
    picture.image = filled(90);
    composition.scene.layers = { Layer {}, picture, subtitle() };
    composition.camera = filled(30);
    composition.title = QStringLiteral("Título");
    const QImage before = composer.compose(composition);
    (*change.value<std::shared_ptr<std::function<void(Composition &)>>>())(composition);
    const QImage after = composer.compose(composition);
    QVERIFY(after.cacheKey() != before.cacheKey());
    QCOMPARE(after, composed(composition)); // nothing stale in it
}

void ComposerTest::invisibleChangesAreNotDrawn()
{
    Composer composer(std::make_shared<PaintCache>());
    Composition composition = empty();
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

void ComposerTest::composersShareEqualPictures()
{
    const auto cache = std::make_shared<PaintCache>();
    Composer preview(cache);
    Composer program(cache);
    Composition composition = empty();
    composition.scene.layers = { Layer {} };
    for (std::uint8_t value = 10; value < 15; ++value) {
        composition.camera = filled(value);
        composition.isPreview = true;
        const QImage prepared = preview.compose(composition);
        composition.isPreview = false;
        QCOMPARE(program.compose(composition).cacheKey(), prepared.cacheKey());
    }
    composition.title = QStringLiteral("otro");
    QVERIFY(preview.compose(composition)
        != program.compose(
            { composition.scene, {}, false, size, false, false, composition.camera, {} }));
}

void ComposerTest::handedOutPicturesNeverChange()
{
    Composer composer(std::make_shared<PaintCache>());
    Composition composition = empty();
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

void ComposerTest::cacheForgetsWhatNobodyShows()
{
    const auto cache = std::make_shared<PaintCache>();
    Composer hall(cache);
    Composer streams(cache);
    const Composition still = withCaptions({ QStringLiteral("Queda") });
    const QImage shown = hall.compose(still);
    Composition moving = empty();
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

NIMBARA_TEST(ComposerTest)
#include "composer_test.moc"
