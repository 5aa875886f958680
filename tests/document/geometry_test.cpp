#include "document/group_geometry.h"
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

GroupParts partsOf(Kind kind, const std::vector<Box> &boxes)
{
    GroupParts parts;
    for (const Box &box : boxes) {
        parts.push_back({ LayerId::make(), kind, box });
    }
    return parts;
}

/// The boxes after a drag by fractions of the frame, beside others when it is to rest on them.
std::vector<Box> dragAll(Kind kind,
    const std::vector<Box> &starts,
    At handle,
    QPointF by,
    const std::optional<std::vector<Box>> &beside = {})
{
    const QPointF press(700, 400);
    const GroupDrag drag { partsOf(kind, starts),
        handle,
        press,
        beside.value_or(std::vector<Box>()) };
    const QPointF pointer = press + QPointF(by.x() * frame.width(), by.y() * frame.height());
    std::vector<Box> boxes;
    for (const Placement &each : drag.at(pointer, frame, beside.has_value()).placements) {
        boxes.push_back(each.box);
    }
    return boxes;
}

Box drag(Kind kind, const Box &start, At handle, double dx, double dy)
{
    return dragAll(kind, { start }, handle, { dx, dy }).front();
}

Box nudge(const Box &start, int right, int down)
{
    return nudged(partsOf(Kind::Text, { start }), right, down, landscapeSize).front().box;
}

bool areClose(const Box &a, const Box &b)
{
    return std::abs(a.x - b.x) < 1e-9 && std::abs(a.y - b.y) < 1e-9 && std::abs(a.w - b.w) < 1e-9
        && std::abs(a.h - b.h) < 1e-9;
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
            { "left", nudge(free, -1, 0), { 0.4 - 1.0 / 1920, 0.4, 0.2, 0.2 } },
            { "far down", nudge(free, 0, 10), { 0.4, 0.4 + 10.0 / 1080, 0.2, 0.2 } },
            { "right to the edge", nudge({ 0.949, 0, 1, 1 }, 10, 0), { 0.95, 0, 1, 1 } },
        };
        for (const auto &[name, actual, expected] : rows) {
            const RowName named(name);
            QVERIFY(areClose(actual, expected));
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

        scene.layers[1].locked = true; // a band takes what it touches and can be moved
        const QRectF band(corner - QPointF(1, 1), QSizeF(2, 2));
        QVERIFY(layersTouching(scene, frame, band) == LayerIds { scene.layers[0].id });
        QVERIFY(layersTouching(scene, frame, QRectF(0, 100, 9, 9)).empty());
    }

    void aGroupKeepsItsShape()
    {
        const Box a { 0.1, 0.2, 0.2, 0.2 };
        const Box b { 0.5, 0.4, 0.1, 0.4 };
        using Boxes = std::vector<Box>;
        for (const auto &[name, actual, expected] :
            { std::tuple { "moved",
                  dragAll(Kind::Text, { a, b }, At::None, { 0.1, -0.1 }),
                  Boxes { { 0.2, 0.1, 0.2, 0.2 }, { 0.6, 0.3, 0.1, 0.4 } } },
                { "as far as both can",
                    dragAll(Kind::Text, { a, b }, At::None, { 3, 0 }),
                    Boxes { { 0.55, 0.2, 0.2, 0.2 }, { 0.95, 0.4, 0.1, 0.4 } } },
                { "scaled freely",
                    dragAll(Kind::Text, { a, b }, At::BottomRight, { 0.5, -0.3 }),
                    Boxes { { 0.1, 0.2, 0.4, 0.1 }, { 0.9, 0.3, 0.2, 0.2 } } },
                { "pictures keep their aspect",
                    dragAll(Kind::Image, { a, b }, At::TopLeft, { 0.25, 0 }),
                    Boxes { a, b } },
                { "no smaller than can be gripped",
                    dragAll(Kind::Text, { a, b }, At::BottomRight, { -0.49, 0 }),
                    Boxes { { 0.1, 0.2, 0.06, 0.2 }, { 0.22, 0.4, 0.03, 0.4 } } } }) {
            const RowName named(name);
            QCOMPARE(actual.size(), expected.size());
            for (std::size_t i = 0; i < actual.size(); ++i) {
                QVERIFY(areClose(actual[i], expected[i]));
            }
        }
    }

    /// Seven pixels of the widget are 0.0044 of its width and 0.0078 of its height.
    void aDragComesToRest()
    {
        const Box box { 0.4, 0.4, 0.1, 0.1 };
        const Box beside { 0.7, 0.42, 0.1, 0.2 };
        const Box next { 0.85, 0.42, 0.1, 0.2 };
        const auto moved
            = [&](const Box &start, double dx, double dy, const std::vector<Box> &others) {
                  return dragAll(Kind::Text, { start }, At::None, { dx, dy }, others).front();
              };
        const Box wide { 0.2, 0.2, 0.3, 0.3 };
        for (const auto &[name, actual, expected] :
            { std::tuple { "left edge", moved(box, -0.397, 0.09, {}), Box { 0, 0.49, 0.1, 0.1 } },
                { "centre", moved(box, 0.048, 0.055, {}), Box { 0.45, 0.45, 0.1, 0.1 } },
                { "third", moved(box, -0.07, 0.08, {}), Box { 1.0 / 3, 0.48, 0.1, 0.1 } },
                { "safe area", moved(box, 0.448, 0.09, {}), Box { 0.85, 0.49, 0.1, 0.1 } },
                { "too far", moved(box, -0.39, 0.09, {}), Box { 0.01, 0.49, 0.1, 0.1 } },
                { "another layer",
                    moved(box, 0.198, 0.09, { beside }),
                    Box { 0.6, 0.49, 0.1, 0.1 } },
                { "equal distances",
                    moved(box, 0.148, 0.09, { beside, next }),
                    Box { 0.55, 0.49, 0.1, 0.1 } },
                { "corner",
                    dragAll(Kind::Text,
                        { wide },
                        At::BottomRight,
                        { 0.164, 0.164 },
                        std::vector<Box>())
                        .front(),
                    Box { 0.2, 0.2, 2.0 / 3 - 0.2, 2.0 / 3 - 0.2 } },
                { "corner of a picture",
                    dragAll(Kind::Image,
                        { wide },
                        At::BottomRight,
                        { 0.165, 0.1 },
                        std::vector<Box>())
                        .front(),
                    Box { 0.2, 0.2, 2.0 / 3 - 0.2, 2.0 / 3 - 0.2 } } }) {
            const RowName named(name);
            QVERIFY2(areClose(actual, expected),
                qPrintable(QStringLiteral("%1 %2 %3 %4")
                               .arg(actual.x)
                               .arg(actual.y)
                               .arg(actual.w)
                               .arg(actual.h)));
        }
    }
};

NIMBARA_TEST(GeometryTest)
#include "geometry_test.moc"
