#include "compositor/scene/composer.h"
#include "compositor/scene/load_image.h"
#include "document/layer_geometry.h"
#include "document/profile.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <QFontMetricsF>
#include <QSet>

#include <map>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize size = shownSize;

const QColor bandOnBlack(11, 44, 81); // the band's colour at alpha 235

FramePtr filled(int grey)
{
    QImage image(size.width, size.height, QImage::Format_RGBX8888);
    image.fill(QColor(grey, grey, grey));
    return toFrame(image);
}

Layer subtitle()
{
    Layer layer = newLayer(LayerKind::Subtitle);
    setBox(layer, fullFrame);
    layer.background = QColor(0, 0, 0, 0);
    return layer;
}

Shown withCaptions(const QStringList &phrases, bool isHall = true)
{
    Shown composition;
    composition.isHall = isHall;
    composition.captions = { phrases, u"\n"_s, true };
    return composition;
}

QImage composed(const Composition &composition)
{
    return Composer(std::make_shared<PaintCache>()).compose(composition);
}

bool isBlack(const QImage &image)
{
    return image == composed(Shown {});
}

/// Camera, picture, subtitles and title.
Shown busy()
{
    Shown composition = withCaptions({ u"Una"_s, u"Otra"_s }, false);
    const PicturedLayer picture(newLayer(LayerKind::Image), filled(90));
    composition.layers = { Layer {}, picture, subtitle() };
    composition.camera = filled(30);
    composition.title = u"Título"_s;
    return composition;
}

constexpr FrameSize canvasSize { 160, 90 };

/// A picture in four colours: red, green above blue, yellow.
FramePtr quarters(int width, int height, int alpha = 255)
{
    QImage image(2, 2, QImage::Format_RGBA8888);
    image.setPixelColor(0, 0, QColor(255, 0, 0, alpha));
    image.setPixelColor(1, 0, QColor(0, 255, 0, alpha));
    image.setPixelColor(0, 1, QColor(0, 0, 255, alpha));
    image.setPixelColor(1, 1, QColor(255, 255, 0, alpha));
    const auto format = alpha == 255 ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888;
    return toFrame(image.scaled(width, height).convertToFormat(format));
}

const QColor topLeft(255, 0, 0);
const QColor topRight(0, 255, 0);
const QColor bottomLeft(0, 0, 255);
const QColor bottomRight(255, 255, 0);

Layer at(LayerKind kind, const Box &box)
{
    Layer layer;
    layer.kind = kind;
    setBox(layer, box);
    return layer;
}

Layer colored(const QColor &fill, const Box &box = fullFrame)
{
    Layer layer = at(LayerKind::Color, box);
    layer.fill = fill;
    return layer;
}

QImage rendered(const std::vector<PicturedLayer> &layers, const FramePtr &camera = nullptr)
{
    PaintCache cache;
    return renderScene(*makeScene({}, { layers.begin(), layers.end() }),
        picturesOf(layers, camera),
        canvasSize,
        cache);
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
            const auto said = QString(QLatin1String(phrases)).split(QString(), Qt::SkipEmptyParts);
            const Captions captions { said, QLatin1String(separator), shown };
            for (const bool isPreview : { false, true }) {
                Layer layer = subtitle();
                layer.text = layer.reference = u"viejo"_s;
                fillSubtitle(layer, captions, isPreview);
                const bool placeholder = layer.text.startsWith(u"Aquí aparecerá la traducción"_s);
                QCOMPARE(placeholder, isPreview && *text == '\0');
                QVERIFY(placeholder || layer.text == QLatin1String(text));
                QCOMPARE(layer.reference, QLatin1String(newest));
            }
        }
    }

    void titleBandFollowsTitleAndSwitch()
    {
        const QPoint onBand(320 / 25, 180 * 78 / 100);
        Shown composition;
        composition.band = true;
        const QImage bare = composed(composition);
        QCOMPARE(bare.pixelColor(onBand), bandOnBlack);
        composition.band = false;
        composition.title = u"Juan"_s;
        QCOMPARE(composed(composition).pixelColor(onBand), bandOnBlack);
        QVERIFY(composed(composition) != bare); // the text is on it
        composition.isHall = true;
        QVERIFY(isBlack(composed(composition)));
    }

    void automaticCaptionFollowsItsRules()
    {
        const QStringList phrases { u"Una frase"_s };
        QVERIFY(!isBlack(composed(withCaptions(phrases))));
        QVERIFY(isBlack(composed(withCaptions(phrases, false))));
        Shown layer = withCaptions({});
        QVERIFY(isBlack(composed(layer)));
        layer.layers = { subtitle() };
        QVERIFY(isBlack(composed(layer))); // the placeholder is for PREVIEW
        layer.isPreview = true;
        QVERIFY(!isBlack(composed(layer)));
        Shown hidden = withCaptions(phrases);
        hidden.captions.shown = false;
        QVERIFY(isBlack(composed(hidden)));
        hidden.captions.shown = true;
        hidden.layers = layer.layers;
        hidden.layers[0].visible = false;
        QVERIFY(isBlack(composed(hidden)));
    }

    /// The same captions in two programs at once: in each the newest ones that its own box has room
    /// for in its own font, whole.
    void captionsFillEachPlace()
    {
        QStringList phrases;
        for (int i = 10; i < 40; ++i) {
            phrases << u"Aleluyaleluya%1"_s.arg(i); // each takes a line
        }
        const auto lineOf = [](QFont font) { // of a canvas
            font.setWeight(QFont::Bold);
            const QImage canvas(1, 1, QImage::Format_RGBX8888);
            return QFontMetricsF(QFont(font, const_cast<QImage *>(&canvas)));
        };
        QFont layerFont(subtitle().font);
        layerFont.setPixelSize(20);
        const QFontMetricsF metrics = lineOf(layerFont);
        const double width = metrics.horizontalAdvance(phrases.first()) * 1.5 + 24;
        const QFontMetricsF automatic = lineOf(QFont(u"Sans Serif"_s, 1080 / 16));
        const auto automaticLines = static_cast<qsizetype>(810 / std::ceil(automatic.height()));
        for (const auto &[separator, room, below, lines] : { std::tuple { "\n", 3.5, 0, 3 },
                 { " ", 3.5, 0, 3 },
                 { "\n\n", 3.5, 0, 2 },
                 { "\n", 3.5, 2, 1 }, // lines below the frame's edge are not seen
                 { "\n", 1.5, 0, 1 },
                 { "\n", 0.5, 0, 1 } }) { // the newest stays
            const auto cache = std::make_shared<PaintCache>();
            Composer streams(cache);
            Composer hall(cache);
            Shown narrow = withCaptions(phrases, false);
            narrow.captions.separator = QLatin1String(separator);
            Layer layer = subtitle();
            layer.size = 20 * 1080 / size.height;
            layer.w = width / size.width;
            layer.h = (room * metrics.height() + 16) / size.height;
            layer.y = below == 0 ? 0 : 1 - layer.h + (below * metrics.height() + 8) / size.height;
            narrow.layers = { layer };
            Shown wide = withCaptions(phrases);
            wide.frame = landscapeSize;
            const auto shows = [&](Composer &composer, Shown shown, qsizetype count) {
                const QImage all = composer.compose(shown);
                shown.captions = shown.captions.newest(count);
                const bool same = all == composed(shown);
                shown.captions = shown.captions.newest(std::max(count - 1, qsizetype { 0 }));
                return same && all != composed(shown);
            };
            QVERIFY(shows(streams, narrow, lines));
            QVERIFY(shows(hall, wide, automaticLines));
            narrow.captions.phrases << u"Aleluyaleluya40"_s; // a further one
            QVERIFY(shows(streams, narrow, lines));
        }
    }

    void changeIsDrawn()
    {
        using Change = std::function<void(Shown &)>;
        const std::vector<std::pair<const char *, Change>> changes {
            { "camera frame", [](auto &c) { c.camera = filled(31); } },
            { "equal camera frame", [](auto &c) { c.camera = filled(30); } },
            { "no camera", [](auto &c) { c.camera.reset(); } },
            { "image", [](auto &c) { c.layers[1].image = filled(91); } },
            { "caption", [](auto &c) { c.captions.phrases.append(u"Más"_s); } },
            { "captions off", [](auto &c) { c.captions.shown = false; } },
            { "title", [](auto &c) { c.title = u"Otro"_s; } },
            { "box", [](auto &c) { c.layers[1].x += 0.1; } },
            { "opacity", [](auto &c) { c.layers[1].opacity = 0.5; } },
            { "visibility", [](auto &c) { c.layers[1].visible = false; } },
            { "order", [](auto &c) { std::swap(c.layers[0], c.layers[1]); } },
            { "text style", [](auto &c) { c.layers[2].bold = false; } },
            { "size", [](auto &c) { std::swap(c.frame.width, c.frame.height); } },
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
        Shown composition;
        composition.layers = { newLayer(LayerKind::Color), Layer {} };
        composition.layers[1].visible = false;
        composition.camera = filled(1);
        const qint64 key = composer.compose(composition).cacheKey();
        composition.name = u"Otra"_s;
        composition.layers[0].name = u"Fondo"_s;
        composition.layers[0].locked = true;
        composition.layers[1].x = 0.5;
        composition.camera = filled(2);
        composition.captions.phrases = { u"sin capa"_s };
        QCOMPARE(composer.compose(composition).cacheKey(), key);
    }

    void composersShareEqualPictures()
    {
        const auto cache = std::make_shared<PaintCache>();
        Composer preview(cache);
        Composer program(cache);
        Shown composition;
        composition.layers = { Layer {} };
        for (int value = 10; value < 15; ++value) {
            composition.camera = filled(value);
            composition.isPreview = true;
            const QImage prepared = preview.compose(composition);
            composition.isPreview = false;
            QCOMPARE(program.compose(composition).cacheKey(), prepared.cacheKey());
        }
        Shown titled = composition;
        titled.title = u"otro"_s;
        QVERIFY(preview.compose(titled) != program.compose(composition));
    }

    void handedOutPicturesNeverChange()
    {
        Composer composer(std::make_shared<PaintCache>());
        Shown composition;
        composition.layers = { Layer {} };
        std::map<int, QImage> pictures; // every other one is kept
        for (int round = 0; round < 30; ++round) {
            composition.camera = filled(round);
            pictures[round / 2 * 2] = composer.compose(composition);
        }
        for (const auto &[round, picture] : pictures) {
            QCOMPARE(picture.pixelColor(7, 7).red(), round + 1);
        }
        // Dropped pictures are drawn on again.
        QSet<const uchar *> bits;
        for (int round = 100; round < 130; ++round) {
            composition.camera = filled(round);
            bits << composer.compose(composition).constBits();
        }
        QVERIFY(bits.size() <= 3);
    }

    void cacheForgetsWhatNobodyShows()
    {
        const auto cache = std::make_shared<PaintCache>();
        Composer hall(cache);
        Composer streams(cache);
        const Composition still = withCaptions({ u"Queda"_s });
        const QImage shown = hall.compose(still);
        Shown moving;
        moving.layers = { Layer {}, newLayer(LayerKind::Text) };
        moving.layers[0].w = 0.5; // scaled: a sprite for every frame
        for (int frame = 0; frame < 400; ++frame) {
            moving.camera = filled(frame % 256);
            moving.layers[1].text = QString::number(frame / 2);
            (void)streams.compose(moving);
            QVERIFY(cache->spriteCount() < 80);
        }
        QCOMPARE(hall.compose(still).cacheKey(), shown.cacheKey());
        moving.layers.clear();
        for (int frame = 0; frame < 400; ++frame) {
            moving.title = QString(); // nothing but black, drawn anew each time
            moving.frame.width = 320 + frame % 2;
            (void)streams.compose(moving);
        }
        QCOMPARE(cache->spriteCount(), std::size_t { 1 }); // the hall's caption
    }
};

class DrawingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void fitsAndCovers()
    {
        const QRectF box(10, 20, 160, 90);
        const QRectF square(0, 0, 50, 50);
        const FrameSize tall { 90, 160 };
        const FrameSize old { 400, 300 };
        for (const auto &[picture, into, cover, source, target] :
            { std::tuple { old, box, false, QRectF(0, 0, 400, 300), QRectF(30, 20, 120, 90) },
                { old, box, true, QRectF(0, 37.5, 400, 225), box },
                { tall, box, false, QRectF(0, 0, 90, 160), QRectF(64.6875, 20, 50.625, 90) },
                { tall, box, true, QRectF(0, 54.6875, 90, 50.625), box },
                { FrameSize { 300, 100 }, square, true, QRectF(100, 0, 100, 100), square },
                { FrameSize { 320, 180 }, box, true, QRectF(0, 0, 320, 180), box } }) {
            const PictureFit fit = fitPicture(picture, into, cover);
            QCOMPARE(fit.source, source);
            QCOMPARE(fit.target, target);
        }
    }

    void unscaledPicturesStayUnscaled()
    {
        // 0.05 × 1920 and 0.85 × 1080 are not quite whole in floating point.
        const QRectF box = pixelBox(QRectF(0.05, 0.15, 0.9, 0.85), { 1920, 1080 });
        QCOMPARE(box.x(), 96.0);
        QVERIFY(fitPicture({ 1728, 918 }, box, false).pixelForPixel());
        QVERIFY(fitPicture({ 1728, 918 }, box, true).pixelForPixel());
        QVERIFY(!fitPicture({ 864, 459 }, box, false).pixelForPixel());
    }

    /// Sources come at the size of their box, but for what makes their sides whole.
    void picturesMadeForTheirPlaceStayUnscaled()
    {
        const QRectF frame(0, 0, 1920, 1080);
        const QRectF part(633.6, 162.4, 652.8, 400.4);
        for (const auto &[picture, into, cover, source, target] :
            { std::tuple { FrameSize { 608, 1080 },
                  frame,
                  false,
                  QRect(0, 0, 608, 1080),
                  QRect(656, 0, 608, 1080) },
                { { 1080, 608 },
                    QRectF(0, 0, 1080, 1921),
                    false,
                    { 0, 0, 1080, 608 },
                    { 0, 657, 1080, 608 } },
                { { 1921, 1080 }, frame, true, { 1, 0, 1920, 1080 }, { 0, 0, 1920, 1080 } },
                { { 1920, 1440 }, frame, true, { 0, 180, 1920, 1080 }, { 0, 0, 1920, 1080 } },
                { { 653, 367 }, part, false, { 0, 0, 653, 367 }, { 634, 179, 653, 367 } },
                { { 653, 491 }, part, true, { 0, 45, 653, 401 }, { 634, 162, 653, 401 } } }) {
            const PictureFit fit = fitPicture(picture, into, cover);
            QVERIFY(fit.pixelForPixel());
            QCOMPARE(fit.source.toRect(), source);
            QCOMPARE(fit.target.toRect(), target);
        }
    }

    void pictureFillsItsPlace()
    {
        // Black shows around the place.
        for (const auto &[size, cover, place] :
            { std::tuple { QSize(160, 90), false, QRect(0, 0, 160, 90) },
                { QSize(40, 30), false, QRect(20, 0, 120, 90) },
                { QSize(40, 30), true, QRect(0, 0, 160, 90) },
                { QSize(1600, 1200), false, QRect(20, 0, 120, 90) } }) {
            for (const auto kind : { LayerKind::Camera, LayerKind::Image }) {
                PicturedLayer layer = at(kind, fullFrame);
                layer.cover = cover;
                layer.image = quarters(size.width(), size.height());
                const QImage image = rendered({ layer }, layer.image);
                const QRect inner = place.adjusted(2, 2, -2, -2);
                QVERIFY(isNear(image.pixelColor(inner.topLeft()), topLeft));
                QVERIFY(isNear(image.pixelColor(inner.topRight()), topRight));
                QVERIFY(isNear(image.pixelColor(inner.bottomLeft()), bottomLeft));
                QVERIFY(isNear(image.pixelColor(inner.bottomRight()), bottomRight));
                QVERIFY(isNear(image.pixelColor(place.center() - QPoint(8, 8)), topLeft));
                if (place.left() > 2) {
                    QCOMPARE(image.pixelColor(place.left() - 2, 45), QColor(Qt::black));
                    QCOMPARE(image.pixelColor(place.right() + 2, 45), QColor(Qt::black));
                }
            }
        }
    }

    void shrunkPictureShowsEveryPixelsShare()
    {
        // Stripes of one pixel: a scaler that picks single pixels shows black or white.
        QImage stripes(1600, 900, QImage::Format_RGBX8888);
        stripes.fill(Qt::black);
        for (int pixel = 0; pixel < 1600 * 900; pixel += 2) {
            stripes.setPixelColor(pixel % 1600, pixel / 1600, Qt::white);
        }
        PicturedLayer layer = at(LayerKind::Image, fullFrame);
        layer.image = toFrame(stripes);
        const QImage image = rendered({ layer });
        for (const int x : { 3, 50, 77, 120, 156 }) {
            QVERIFY(isNear(image.pixelColor(x, 40), QColor(128, 128, 128), 12));
        }
    }

    void missingPictures()
    {
        const QColor dark(55, 55, 55); // white under the placeholder, black of alpha 200
        const int unknown = 9;
        for (const int kind : { 0, 1, 3, 4, unknown }) {
            const Layer layer = at(static_cast<LayerKind>(kind), { 0.25, 0.25, 0.5, 0.5 });
            const QImage image = rendered({ colored(Qt::white), layer });
            const bool isCamera = layer.kind == LayerKind::Camera;
            QVERIFY(isNear(image.pixelColor(80, 45), isCamera ? QColor(Qt::white) : dark));
            QCOMPARE(image.pixelColor(20, 45), QColor(Qt::white));
        }
    }

    void layersGoBackToFront()
    {
        const QImage image = rendered({ colored(Qt::red, { 0, 0, 0.6, 1 }),
            colored(Qt::green, { 0.4, 0, 0.6, 1 }),
            colored(Qt::blue, { 0.45, 0.4, 0.1, 0.2 }) });
        QCOMPARE(image.pixelColor(10, 45), QColor(Qt::red));
        QCOMPARE(image.pixelColor(70, 10), QColor(Qt::green));
        QCOMPARE(image.pixelColor(80, 45), QColor(Qt::blue));

        // What covers the canvas hides what is below, and only that.
        const QImage covered = rendered(
            { colored(Qt::red), colored(Qt::white), colored(Qt::blue, { 0, 0, 0.5, 1 }) });
        QCOMPARE(covered.pixelColor(10, 45), QColor(Qt::blue));
        QCOMPARE(covered.pixelColor(150, 45), QColor(Qt::white));
    }

    void hiddenLayersLeaveNoTrace()
    {
        Layer hidden = colored(Qt::red);
        hidden.visible = false;
        Layer clear = colored(Qt::green);
        clear.opacity = 0;
        QCOMPARE(rendered({ hidden, clear }), rendered({}));
        QCOMPARE(rendered({}).pixelColor(80, 45), QColor(Qt::black));
    }

    void opacityMixes()
    {
        for (const auto &[kind, picture, opacity] :
            { std::tuple { LayerKind::Color, FramePtr(), 0.5 },
                { LayerKind::Camera, quarters(160, 90), 0.5 }, // unscaled
                { LayerKind::Camera, quarters(80, 45), 0.5 },
                { LayerKind::Image, quarters(80, 45), 0.5 },
                { LayerKind::Image, quarters(160, 90, 128), 1.0 },
                { LayerKind::Image, quarters(80, 45, 128), 1.0 } }) {
            PicturedLayer layer = at(kind, fullFrame);
            layer.fill = topLeft;
            layer.image = picture;
            layer.opacity = opacity;
            const QImage image = rendered({ colored(Qt::white), layer }, picture);
            QVERIFY(isNear(image.pixelColor(20, 20), QColor(255, 127, 127), 3));
            QVERIFY(kind == LayerKind::Color
                || isNear(image.pixelColor(140, 80), QColor(255, 255, 127), 3));
        }
    }

    void boxesAreClippedByTheCanvas()
    {
        PicturedLayer outside = at(LayerKind::Image, { -0.5, -0.5, 1, 1 });
        outside.image = quarters(160, 90);
        const QImage image = rendered({ outside });
        QVERIFY(isNear(image.pixelColor(40, 20), bottomRight));
        QCOMPARE(image.pixelColor(120, 60), QColor(Qt::black));

        PicturedLayer far = at(LayerKind::Image, { 40, 40, 3, 3 });
        far.image = outside.image;
        Layer words = at(LayerKind::Text, { -30, 0, 1, 1 });
        words.text = u"lejos"_s;
        Layer flat = at(LayerKind::Camera, { 0.2, 0.2, 0, 0.5 });
        QCOMPARE(rendered({ far, words, flat }, outside.image), rendered({}));
    }

    void everyPixelIsOpaque()
    {
        Layer words = at(LayerKind::Text, { 0.1, 0.1, 0.8, 0.8 });
        words.text = u"Aleluya 🎉"_s;
        words.size = 300;
        words.opacity = 0.6;
        PicturedLayer picture = at(LayerKind::Image, { 0.2, 0, 0.5, 0.5 });
        picture.image = quarters(33, 17, 90);
        const QImage image = rendered({ colored(QColor(9, 9, 9, 60)), words, picture });
        for (int pixel = 0; pixel < image.width() * image.height(); ++pixel) {
            QCOMPARE(image.constBits()[pixel * 4 + 3], uchar { 255 }); // lines follow each other
        }
        QVERIFY(!image.hasAlphaChannel());
    }
};

NIMBARA_TEST(ComposerTest)
NIMBARA_TEST(DrawingTest)
#include "composer_test.moc"
