#include "compositor/scene/composer.h"
#include "support/shown.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr FrameSize canvasSize { 160, 90 };

/// A picture in four colours: red, green above blue, yellow.
FramePtr quarters(std::int32_t width, std::int32_t height, int alpha = 255)
{
    auto frame = std::make_shared<Frame>(width, height);
    frame->opaque = alpha == 255;
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            const bool right = x >= width / 2;
            const bool lower = y >= height / 2;
            auto *pixel = frame->pixels.data() + y * frame->stride() + std::ptrdiff_t { x } * 4;
            pixel[0] = right == lower ? 255 : 0;
            pixel[1] = right ? 255 : 0;
            pixel[2] = !right && lower ? 255 : 0;
            pixel[3] = static_cast<std::uint8_t>(alpha);
        }
    }
    return frame;
}

const QColor topLeft(255, 0, 0);
const QColor topRight(0, 255, 0);
const QColor bottomLeft(0, 0, 255);
const QColor bottomRight(255, 255, 0);

Layer at(LayerKind kind, double x, double y, double w, double h)
{
    Layer layer;
    layer.kind = kind;
    layer.x = x;
    layer.y = y;
    layer.w = w;
    layer.h = h;
    return layer;
}

Layer colored(const QColor &fill, double x = 0, double y = 0, double w = 1, double h = 1)
{
    PicturedLayer layer = at(LayerKind::Color, x, y, w, h);
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

bool near(const QColor &a, const QColor &b, int tolerance = 2)
{
    return qAbs(a.red() - b.red()) <= tolerance && qAbs(a.green() - b.green()) <= tolerance
        && qAbs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

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

    void pictureFillsItsPlace()
    {
        // Black shows around the place.
        for (const auto &[size, cover, place] :
            { std::tuple { QSize(160, 90), false, QRect(0, 0, 160, 90) },
                { QSize(40, 30), false, QRect(20, 0, 120, 90) },
                { QSize(40, 30), true, QRect(0, 0, 160, 90) },
                { QSize(1600, 1200), false, QRect(20, 0, 120, 90) } }) {
            for (const auto kind : { LayerKind::Camera, LayerKind::Image }) {
                PicturedLayer layer = at(kind, 0, 0, 1, 1);
                layer.cover = cover;
                layer.image = quarters(size.width(), size.height());
                const QImage image = rendered({ layer }, layer.image);
                QVERIFY(near(image.pixelColor(place.topLeft() + QPoint(2, 2)), topLeft));
                QVERIFY(near(image.pixelColor(place.topRight() + QPoint(-2, 2)), topRight));
                QVERIFY(near(image.pixelColor(place.bottomLeft() + QPoint(2, -2)), bottomLeft));
                QVERIFY(near(image.pixelColor(place.bottomRight() - QPoint(2, 2)), bottomRight));
                QVERIFY(near(image.pixelColor(place.center() - QPoint(8, 8)), topLeft));
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
        auto stripes = std::make_shared<Frame>(1600, 900);
        for (std::size_t pixel = 0; pixel < stripes->pixels.size(); pixel += 4) {
            const std::uint8_t value = (pixel / 4) % 2 == 0 ? 255 : 0;
            std::fill_n(stripes->pixels.begin() + static_cast<std::ptrdiff_t>(pixel), 3, value);
        }
        PicturedLayer layer = at(LayerKind::Image, 0, 0, 1, 1);
        layer.image = stripes;
        const QImage image = rendered({ layer });
        for (const int x : { 3, 50, 77, 120, 156 }) {
            QVERIFY(near(image.pixelColor(x, 40), QColor(128, 128, 128), 12));
        }
    }

    void missingPictures()
    {
        const QColor dark(55, 55, 55); // white under the placeholder, black of alpha 200
        const int unknown = 9;
        for (const int kind : { 0, 1, 3, 4, unknown }) {
            const Layer layer = at(static_cast<LayerKind>(kind), 0.25, 0.25, 0.5, 0.5);
            const QImage image = rendered({ colored(Qt::white), layer });
            const bool isCamera = layer.kind == LayerKind::Camera;
            QVERIFY(near(image.pixelColor(80, 45), isCamera ? QColor(Qt::white) : dark));
            QCOMPARE(image.pixelColor(20, 45), QColor(Qt::white));
        }
    }

    void layersGoBackToFront()
    {
        const QImage image = rendered({ colored(Qt::red, 0, 0, 0.6, 1),
            colored(Qt::green, 0.4, 0, 0.6, 1),
            colored(Qt::blue, 0.45, 0.4, 0.1, 0.2) });
        QCOMPARE(image.pixelColor(10, 45), QColor(Qt::red));
        QCOMPARE(image.pixelColor(70, 10), QColor(Qt::green));
        QCOMPARE(image.pixelColor(80, 45), QColor(Qt::blue));

        // What covers the canvas hides what is below, and only that.
        const QImage covered
            = rendered({ colored(Qt::red), colored(Qt::white), colored(Qt::blue, 0, 0, 0.5, 1) });
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
        for (const auto &[kind, picture] : { std::pair { LayerKind::Color, FramePtr() },
                 { LayerKind::Camera, quarters(160, 90) }, // unscaled
                 { LayerKind::Camera, quarters(80, 45) },
                 { LayerKind::Image, quarters(80, 45) } }) {
            PicturedLayer layer = at(kind, 0, 0, 1, 1);
            layer.fill = topLeft;
            layer.image = picture;
            layer.opacity = 0.25;
            const QImage image = rendered({ colored(Qt::white), layer }, picture);
            QVERIFY(near(image.pixelColor(20, 20), QColor(255, 191, 191), 3));
        }
    }

    void boxesAreClippedByTheCanvas()
    {
        PicturedLayer outside = at(LayerKind::Image, -0.5, -0.5, 1, 1);
        outside.image = quarters(160, 90);
        const QImage image = rendered({ outside });
        QVERIFY(near(image.pixelColor(40, 20), bottomRight));
        QCOMPARE(image.pixelColor(120, 60), QColor(Qt::black));

        PicturedLayer far = at(LayerKind::Image, 40, 40, 3, 3);
        far.image = outside.image;
        Layer words = at(LayerKind::Text, -30, 0, 1, 1);
        words.text = QStringLiteral("lejos");
        Layer flat = at(LayerKind::Camera, 0.2, 0.2, 0, 0.5);
        QCOMPARE(rendered({ far, words, flat }, outside.image), rendered({}));
    }

    void transparentPictureShowsWhatIsBelow()
    {
        for (const QSize size : { QSize(160, 90), QSize(80, 45) }) {
            PicturedLayer layer = at(LayerKind::Image, 0, 0, 1, 1);
            layer.image = quarters(size.width(), size.height(), 128);
            const QImage image = rendered({ colored(Qt::white), layer });
            QVERIFY(near(image.pixelColor(20, 20), QColor(255, 127, 127), 3));
            QVERIFY(near(image.pixelColor(140, 80), QColor(255, 255, 127), 3));
        }
    }

    void everyPixelIsOpaque()
    {
        Layer words = at(LayerKind::Text, 0.1, 0.1, 0.8, 0.8);
        words.text = QStringLiteral("Aleluya 🎉");
        words.size = 300;
        words.opacity = 0.6;
        PicturedLayer picture = at(LayerKind::Image, 0.2, 0, 0.5, 0.5);
        picture.image = quarters(33, 17, 90);
        const QImage image = rendered({ colored(QColor(9, 9, 9, 60)), words, picture });
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                QCOMPARE(image.constScanLine(y)[x * 4 + 3], uchar { 255 });
            }
        }
        QVERIFY(!image.hasAlphaChannel());
    }
};

NIMBARA_TEST(DrawingTest)
#include "drawing_test.moc"
