#include "document/canvas_geometry.h"
#include "document/profile.h"
#include "support/test_registry.h"

using namespace nimbara;
using nimbara::testing::RowName;

namespace {

using Kind = LayerKind;
using At = Handle;

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
Box drag(Kind kind, const Box &start, At handle, double dx, double dy)
{
    const QPointF press(700, 400);
    const QPointF by(dx * frame.width(), dy * frame.height());
    return CanvasDrag { kind, start, handle, press }.boxAt(press + by, frame);
}

} // namespace

class GeometryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void boxes()
    {
        const Box unshaped { 0.55, 0.05, 0.4, 0.4 };
        const Box old { 0.1, 0.2, 0.4, 0.3 };
        const Box step { 0, 0, 0.4, 0.71111 }; // between the steps of the fields
        const Box away { 0.7, -0.3, 0.5, 0.2 };
        const Box camera { 0.1, 0.1, 0.4, 0.225 };
        const Box free { 0.4, 0.4, 0.2, 0.2 };
        const Box edge { 0.9, 0.9, 0.2, 0.2 };
        const Box tall { 0.1, 0.1, 0.525 * 0.4 / 0.225, 0.525 };
        const Box least { 0.6, 0.4, 0.03, 0.03 };
        const CanvasDrag flat { Kind::Text, old, Handle::TopLeft, {} };
        const FrameSize wide = landscapeSize;
        const FrameSize old43 { 640, 480 };
        const FrameSize two { 2, 1 };
        const FrameSize none { 4, 0 };
        const double high = (1 - 0.31640625) / 2; // above a landscape picture in portrait
        const std::tuple<const char *, Box, Box> rows[] {
            { "new 16:9", newImageBox({ 1280, 720 }, wide), unshaped },
            { "new square", newImageBox({ 9, 9 }, wide), { 0.55, 0.05, 0.4, 0.4 * 16 / 9 } },
            { "new tall", newImageBox({ 1, 4 }, wide), { 0.55, 0.05, 0.225 * 9 / 16, 0.9 } },
            { "new, portrait", newImageBox({ 9, 9 }, portraitSize), { 0.55, 0.05, 0.4, 0.225 } },
            { "new without a height", newImageBox({ 10, 0 }, wide), unshaped },
            { "image", editedBox(Kind::Image, old, { 10, 20, 50, 30 }), { 0.1, 0.2, 0.5, 0.375 } },
            { "camera", editedBox(Kind::Camera, old, { 10, 20, 40, 60 }), { 0.1, 0.2, 0.8, 0.6 } },
            { "height", editedBox(Kind::Screen, old, { 10, 20, 50, 60 }), { 0.1, 0.2, 0.8, 0.6 } },
            { "text", editedBox(Kind::Text, old, { 10, 20, 50, 30 }), { 0.1, 0.2, 0.5, 0.3 } },
            { "step", editedBox(Kind::Video, step, { 0, 0, 20, 71.1 }), { 0, 0, 0.2, 0.355555 } },
            { "top left", alignedBox(away, 0, 0), { 0, 0, 0.5, 0.2 } },
            { "centre", alignedBox(away, 1, 1), { 0.25, 0.4, 0.5, 0.2 } },
            { "right", alignedBox(away, 2, 1), { 0.5, 0.4, 0.5, 0.2 } },
            { "bottom", alignedBox(away, 1, 2), { 0.25, 0.8, 0.5, 0.2 } },
            { "fit 4:3", fittedBox(Kind::Camera, old43, wide), { 0.125, 0, 0.75, 1 } },
            { "fit 2:1", fittedBox(Kind::Image, two, wide), { 0, 1.0 / 18, 1, 8.0 / 9 } },
            { "portrait",
                fittedBox(Kind::Screen, wide, portraitSize),
                { 0, high, 1, 1 - 2 * high } },
            { "fit text", fittedBox(Kind::Text, old43, wide), fullFrame },
            { "fit an unknown size", fittedBox(Kind::Camera, std::nullopt, wide), fullFrame },
            { "fit no height", fittedBox(Kind::Video, none, wide), fullFrame },
            { "taller", drag(Kind::Camera, camera, At::BottomRight, 0.1, 0.3), tall },
            { "wider",
                drag(Kind::Camera, camera, At::BottomRight, 0.4, 0.1),
                { 0.1, 0.1, 0.8, 0.45 } },
            { "larger", drag(Kind::Image, free, At::TopLeft, -0.1, 0), { 0.3, 0.3, 0.3, 0.3 } },
            { "freely", drag(Kind::Text, free, At::TopRight, 0.1, -0.2), { 0.4, 0.2, 0.3, 0.4 } },
            { "flip", drag(Kind::Text, free, At::BottomRight, -0.5, -0.4), { 0.1, 0.2, 0.3, 0.2 } },
            { "smallest", drag(Kind::Verse, free, At::BottomLeft, 0.21, -0.2), least },
            { "off", drag(Kind::Text, edge, At::TopLeft, 0.15, 0.15), { 0.95, 0.95, 0.05, 0.05 } },
            { "move", drag(Kind::Text, free, At::None, -0.2, 0.1), { 0.2, 0.5, 0.2, 0.2 } },
            { "far right", drag(Kind::Text, free, At::None, 3, 3), { 0.95, 0.95, 0.2, 0.2 } },
            { "far left", drag(Kind::Text, free, At::None, -3, -3), { -0.15, -0.15, 0.2, 0.2 } },
            { "frame without extent", flat.boxAt({ 5, 5 }, QRectF(0, 0, 0, 9)), old },
            { "left", nudgedBox(free, -1, 0, false), { 0.395, 0.4, 0.2, 0.2 } },
            { "shift down", nudgedBox(free, 0, 1, true), { 0.4, 0.45, 0.2, 0.2 } },
            { "right to the edge", nudgedBox({ 0.94, 0, 1, 1 }, 1, 0, true), { 0.95, 0, 1, 1 } },
        };
        for (const auto &[name, actual, expected] : rows) {
            const RowName named(name);
            QVERIFY(std::abs(actual.x - expected.x) < 1e-9 && std::abs(actual.y - expected.y) < 1e-9
                && std::abs(actual.w - expected.w) < 1e-9
                && std::abs(actual.h - expected.h) < 1e-9);
        }
    }

    void untouchedFieldsKeepTheirExactValue()
    {
        // A box between the steps of the fields, and one beyond their ranges (X −1.5, W 4).
        for (const Box &old :
            { Box { 0.55, 0.05, 0.4, 0.711111 }, Box { -1.5, 0.3333, 4, 0.01234 } }) {
            Box shown { shownPercent(old.x, placePercent),
                shownPercent(old.y, placePercent),
                shownPercent(old.w, sizePercent),
                shownPercent(old.h, sizePercent) };
            QCOMPARE(editedBox(Kind::Image, old, shown), old);
            shown.y = -12.5;
            QCOMPARE(editedBox(Kind::Image, old, shown), (Box { old.x, -0.125, old.w, old.h }));
        }
    }

    void framesTheWidget()
    {
        QCOMPARE(frameRect({ 1600, 1100 }, 16.0 / 9), frame);
        QCOMPARE(frameRect({ 2000, 900 }, 16.0 / 9), QRectF(200, 0, 1600, 900));
        QCOMPARE(frameRect({ 1000, 1600 }, 9.0 / 16), QRectF(50, 0, 900, 1600));
        QCOMPARE(layerRect({ -0.5, 0.5, 2, 0.1 }, frame), QRectF(-800, 550, 3200, 90));
    }

    void takesTheFirstHandleInReach()
    {
        const QRectF rect(100, 100, 100, 100);
        QCOMPARE(handleAt(rect, { 94, 92 }), Handle::TopLeft); // 10 pixels away
        QCOMPARE(handleAt(rect, { 94, 91.9 }), Handle::None);
        QCOMPARE(handleAt(rect, { 205, 95 }), Handle::TopRight);
        QCOMPARE(handleAt(rect, { 200, 190 }), Handle::BottomRight);
        QCOMPARE(handleAt(rect, { 100, 210 }), Handle::BottomLeft);
        QCOMPARE(handleAt({ 100, 100, 2, 2 }, { 102, 102 }), Handle::TopLeft);
    }

    void picksTheFrontMostVisibleLayer()
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
};

NIMBARA_TEST(GeometryTest)
#include "geometry_test.moc"
