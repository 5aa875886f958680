#include "document/canvas_geometry.h"
#include "document/profile.h"
#include "support/test_registry.h"

#include <QTest>

#include <cmath>

using namespace nimbara;

Q_DECLARE_METATYPE(Box)

namespace {

using Kind = LayerKind;

// A canvas whose frame is 1600 × 900 pixels, 100 pixels below the top of the widget.
const QRectF frame(0, 100, 1600, 900);

Layer layerAtBox(const Box &box, bool visible = true)
{
    Layer layer;
    layer.visible = visible;
    setBox(layer, box);
    return layer;
}

/// The box after a drag by fractions of the frame.
Box dragged(Kind kind, const Box &start, Handle handle, double dx, double dy)
{
    const QPointF press(700, 400);
    const QPointF by(dx * frame.width(), dy * frame.height());
    return CanvasDrag { kind, start, handle, press }.boxAt(press + by, frame);
}

void row(const char *name, const Box &actual, const Box &expected)
{
    QTest::newRow(name) << actual << expected;
}

} // namespace

class GeometryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void boxes_data();
    void boxes();
    void untouchedFieldsKeepTheirExactValue();
    void framesTheWidget();
    void takesTheFirstHandleInReach();
    void picksTheFrontMostVisibleLayer();
};

void GeometryTest::boxes_data()
{
    QTest::addColumn<Box>("actual");
    QTest::addColumn<Box>("expected");

    const Box unshaped { 0.55, 0.05, 0.4, 0.4 };
    row("new 16:9", newImageBox({ 1280, 720 }, landscapeSize), unshaped);
    row("new square", newImageBox({ 9, 9 }, landscapeSize), { 0.55, 0.05, 0.4, 0.4 * 16 / 9 });
    row("new tall", newImageBox({ 1, 4 }, landscapeSize), { 0.55, 0.05, 0.9 / 4 * 9 / 16, 0.9 });
    row("new in portrait", newImageBox({ 9, 9 }, portraitSize), { 0.55, 0.05, 0.4, 0.225 });
    row("new without a height", newImageBox({ 10, 0 }, landscapeSize), unshaped);

    const Box old { 0.1, 0.2, 0.4, 0.3 };
    row("image width", editedBox(Kind::Image, old, { 10, 20, 50, 30 }), { 0.1, 0.2, 0.5, 0.375 });
    row("camera height", editedBox(Kind::Camera, old, { 10, 20, 40, 60 }), { 0.1, 0.2, 0.8, 0.6 });
    row("height wins", editedBox(Kind::Screen, old, { 10, 20, 50, 60 }), { 0.1, 0.2, 0.8, 0.6 });
    row("text width", editedBox(Kind::Text, old, { 10, 20, 50, 30 }), { 0.1, 0.2, 0.5, 0.3 });
    row("between the steps of the fields",
        editedBox(Kind::Video, { 0, 0, 0.4, 0.71111 }, { 0, 0, 20, 71.1 }),
        { 0, 0, 0.2, 0.355555 });

    const Box away { 0.7, -0.3, 0.5, 0.2 };
    row("top left", alignedBox(away, 0, 0), { 0, 0, 0.5, 0.2 });
    row("centre", alignedBox(away, 1, 1), { 0.25, 0.4, 0.5, 0.2 });
    row("right", alignedBox(away, 2, 1), { 0.5, 0.4, 0.5, 0.2 });
    row("bottom", alignedBox(away, 1, 2), { 0.25, 0.8, 0.5, 0.2 });

    const FrameSize ratio43 { 640, 480 };
    row("fit 4:3", fittedBox(Kind::Camera, ratio43, landscapeSize), { 0.125, 0, 0.75, 1 });
    row("fit 2:1",
        fittedBox(Kind::Image, { { 2, 1 } }, landscapeSize),
        { 0, 1.0 / 18, 1, 8.0 / 9 });
    row("fit in portrait",
        fittedBox(Kind::Screen, landscapeSize, portraitSize),
        { 0, (1 - 0.31640625) / 2, 1, 0.31640625 });
    row("fit text", fittedBox(Kind::Text, ratio43, landscapeSize), fullFrame);
    row("fit an unknown size", fittedBox(Kind::Camera, std::nullopt, landscapeSize), fullFrame);
    row("fit no height", fittedBox(Kind::Video, FrameSize { 4, 0 }, landscapeSize), fullFrame);

    const Box camera { 0.1, 0.1, 0.4, 0.225 };
    const Box free { 0.4, 0.4, 0.2, 0.2 };
    row("camera grows with its height",
        dragged(Kind::Camera, camera, Handle::BottomRight, 0.1, 0.3),
        { 0.1, 0.1, 0.525 * 0.4 / 0.225, 0.525 });
    row("camera grows with its width",
        dragged(Kind::Camera, camera, Handle::BottomRight, 0.4, 0.1),
        { 0.1, 0.1, 0.8, 0.45 });
    row("image from the top left",
        dragged(Kind::Image, free, Handle::TopLeft, -0.1, 0),
        { 0.3, 0.3, 0.3, 0.3 });
    row("text from the top right",
        dragged(Kind::Text, free, Handle::TopRight, 0.1, -0.2),
        { 0.4, 0.2, 0.3, 0.4 });
    row("flip past the anchor",
        dragged(Kind::Text, free, Handle::BottomRight, -0.5, -0.4),
        { 0.1, 0.2, 0.3, 0.2 });
    row("flip, not below the smallest",
        dragged(Kind::Verse, free, Handle::BottomLeft, 0.21, -0.2),
        { 0.6, 0.4, 0.03, 0.03 });
    row("resize off the screen",
        dragged(Kind::Text, { 0.9, 0.9, 0.2, 0.2 }, Handle::TopLeft, 0.15, 0.15),
        { 0.95, 0.95, 0.05, 0.05 });
    row("move", dragged(Kind::Text, free, Handle::None, -0.2, 0.1), { 0.2, 0.5, 0.2, 0.2 });
    row("move far right", dragged(Kind::Text, free, Handle::None, 3, 3), { 0.95, 0.95, 0.2, 0.2 });
    row("move far left",
        dragged(Kind::Text, free, Handle::None, -3, -3),
        { -0.15, -0.15, 0.2, 0.2 });
    row("frame without extent",
        CanvasDrag { Kind::Text, old, Handle::TopLeft, {} }.boxAt({ 5, 5 }, QRectF(0, 0, 0, 9)),
        old);

    row("left", nudgedBox(free, -1, 0, false), { 0.395, 0.4, 0.2, 0.2 });
    row("shift down", nudgedBox(free, 0, 1, true), { 0.4, 0.45, 0.2, 0.2 });
    row("right to the edge", nudgedBox({ 0.94, 0, 1, 1 }, 1, 0, true), { 0.95, 0, 1, 1 });
}

void GeometryTest::boxes()
{
    QFETCH(Box, actual);
    QFETCH(Box, expected);
    const auto close = [](double a, double b) { return std::abs(a - b) < 1e-9; };
    QVERIFY2(close(actual.x, expected.x) && close(actual.y, expected.y)
            && close(actual.w, expected.w) && close(actual.h, expected.h),
        qPrintable(QStringLiteral("%1, %2, %3 × %4")
                       .arg(actual.x)
                       .arg(actual.y)
                       .arg(actual.w)
                       .arg(actual.h)));
}

void GeometryTest::untouchedFieldsKeepTheirExactValue()
{
    // A box between the steps of the fields, and one beyond their ranges (X −1.5, W 4).
    for (const Box &old : { Box { 0.55, 0.05, 0.4, 0.711111 }, Box { -1.5, 0.3333, 4, 0.01234 } }) {
        Box shown { shownPercent(old.x, placePercent),
            shownPercent(old.y, placePercent),
            shownPercent(old.w, sizePercent),
            shownPercent(old.h, sizePercent) };
        QCOMPARE(editedBox(Kind::Image, old, shown), old);
        shown.y = -12.5;
        QCOMPARE(editedBox(Kind::Image, old, shown), (Box { old.x, -0.125, old.w, old.h }));
    }
}

void GeometryTest::framesTheWidget()
{
    QCOMPARE(frameRect({ 1600, 1100 }, 16.0 / 9), frame);
    QCOMPARE(frameRect({ 2000, 900 }, 16.0 / 9), QRectF(200, 0, 1600, 900));
    QCOMPARE(frameRect({ 1000, 1600 }, 9.0 / 16), QRectF(50, 0, 900, 1600));
    QCOMPARE(layerRect({ -0.5, 0.5, 2, 0.1 }, frame), QRectF(-800, 550, 3200, 90));
}

void GeometryTest::takesTheFirstHandleInReach()
{
    const QRectF rect(100, 100, 100, 100);
    QCOMPARE(handleAt(rect, { 94, 92 }), Handle::TopLeft); // 10 pixels away
    QCOMPARE(handleAt(rect, { 94, 91.9 }), Handle::None);
    QCOMPARE(handleAt(rect, { 205, 95 }), Handle::TopRight);
    QCOMPARE(handleAt(rect, { 200, 190 }), Handle::BottomRight);
    QCOMPARE(handleAt(rect, { 100, 210 }), Handle::BottomLeft);
    QCOMPARE(handleAt({ 100, 100, 2, 2 }, { 102, 102 }), Handle::TopLeft);
}

void GeometryTest::picksTheFrontMostVisibleLayer()
{
    Scene scene;
    const Box middle { 0.25, 0.25, 0.5, 0.5 };
    scene.layers = { layerAtBox(middle), layerAtBox(fullFrame), layerAtBox(middle, false) };
    const QPointF corner = layerRect(middle, frame).bottomLeft();
    QVERIFY(layerAt(scene, frame, corner) == scene.layers[1].id);
    QVERIFY(!layerAt(scene, frame, { 800, 50 }));

    // A handle of the selected layer comes before the layers in front of it.
    const CanvasHit hit = canvasHit(scene, scene.layers[0].id, frame, corner);
    QCOMPARE(hit.handle, Handle::BottomLeft);
    QVERIFY(hit.layer == scene.layers[0].id);
    for (const LayerId nothing : { LayerId(), LayerId::make() }) {
        QCOMPARE(canvasHit(scene, nothing, frame, corner).handle, Handle::None);
        QVERIFY(canvasHit(scene, nothing, frame, corner).layer == scene.layers[1].id);
    }
}

NIMBARA_TEST(GeometryTest)
#include "geometry_test.moc"
