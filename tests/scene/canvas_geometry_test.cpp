#include "scene/box_compare.h"
#include "scene/canvas_geometry.h"
#include "support/test_registry.h"

using namespace nimbara;

Q_DECLARE_METATYPE(LayerKind)
Q_DECLARE_METATYPE(Handle)

namespace {

// A canvas whose frame is 1600 × 900 pixels, 100 pixels below the top of the widget.
const QRectF frame(0, 100, 1600, 900);

Layer layerAtBox(const Box &box, bool visible = true)
{
    Layer layer;
    layer.visible = visible;
    setBox(layer, box);
    return layer;
}

} // namespace

class CanvasGeometryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void framesTheWidget_data();
    void framesTheWidget();
    void placesALayerInTheFrame();
    void takesTheFirstHandleInReach_data();
    void takesTheFirstHandleInReach();
    void picksTheFrontMostVisibleLayer_data();
    void picksTheFrontMostVisibleLayer();
    void handlesComeBeforeLayersInFront();
    void drags_data();
    void drags();
    void nudges_data();
    void nudges();
    void frameWithoutExtentMovesNothing();
};

void CanvasGeometryTest::framesTheWidget_data()
{
    QTest::addColumn<QSizeF>("widget");
    QTest::addColumn<double>("aspect");
    QTest::addColumn<QRectF>("rect");

    QTest::newRow("exact") << QSizeF(240, 135) << 16.0 / 9 << QRectF(0, 0, 240, 135);
    QTest::newRow("bars above and below")
        << QSizeF(1600, 1100) << 16.0 / 9 << QRectF(0, 100, 1600, 900);
    QTest::newRow("bars at the sides")
        << QSizeF(2000, 900) << 16.0 / 9 << QRectF(200, 0, 1600, 900);
    QTest::newRow("portrait") << QSizeF(1000, 1600) << 9.0 / 16 << QRectF(50, 0, 900, 1600);
}

void CanvasGeometryTest::framesTheWidget()
{
    QFETCH(QSizeF, widget);
    QFETCH(double, aspect);
    QFETCH(QRectF, rect);
    QCOMPARE(frameRect(widget, aspect), rect);
}

void CanvasGeometryTest::placesALayerInTheFrame()
{
    QCOMPARE(layerRect({ 0.25, 0.5, 0.5, 0.1 }, frame), QRectF(400, 550, 800, 90));
    QCOMPARE(layerRect({ -0.5, 0, 2, 1 }, frame), QRectF(-800, 100, 3200, 900));
}

void CanvasGeometryTest::takesTheFirstHandleInReach_data()
{
    QTest::addColumn<QPointF>("pointer");
    QTest::addColumn<Handle>("handle");

    QTest::newRow("top left") << QPointF(100, 100) << Handle::TopLeft;
    QTest::newRow("top right") << QPointF(205, 95) << Handle::TopRight;
    QTest::newRow("bottom right") << QPointF(200, 190) << Handle::BottomRight;
    QTest::newRow("bottom left") << QPointF(100, 210) << Handle::BottomLeft;
    QTest::newRow("10 pixels away") << QPointF(94, 92) << Handle::TopLeft;
    QTest::newRow("a little more") << QPointF(94, 91.9) << Handle::None;
    QTest::newRow("middle") << QPointF(150, 150) << Handle::None;
}

void CanvasGeometryTest::takesTheFirstHandleInReach()
{
    QFETCH(QPointF, pointer);
    QFETCH(Handle, handle);
    QCOMPARE(handleAt(QRectF(100, 100, 100, 100), pointer), handle);
    // All four corners of a tiny box are in reach: the first in order wins.
    QCOMPARE(handleAt(QRectF(pointer, QSizeF(2, 2)), pointer + QPointF(2, 2)), Handle::TopLeft);
}

void CanvasGeometryTest::picksTheFrontMostVisibleLayer_data()
{
    QTest::addColumn<QPointF>("pointer");
    QTest::addColumn<int>("layer");

    QTest::newRow("back alone") << QPointF(80, 145) << 0;
    QTest::newRow("front over back") << QPointF(800, 550) << 1;
    QTest::newRow("hidden in front of both") << QPointF(400, 325) << 1;
    QTest::newRow("above the frame") << QPointF(800, 50) << -1;
}

void CanvasGeometryTest::picksTheFrontMostVisibleLayer()
{
    QFETCH(QPointF, pointer);
    QFETCH(int, layer);
    Scene scene;
    scene.layers = { layerAtBox(fullFrame),
        layerAtBox({ 0.2, 0.2, 0.6, 0.6 }),
        layerAtBox({ 0.2, 0.2, 0.1, 0.1 }, false) };
    QCOMPARE(layerAt(scene, frame, pointer), layer);
}

void CanvasGeometryTest::handlesComeBeforeLayersInFront()
{
    Scene scene;
    scene.layers = { layerAtBox({ 0.25, 0.25, 0.5, 0.5 }), layerAtBox(fullFrame) };
    const QPointF corner = layerRect(boxOf(scene.layers[0]), frame).bottomLeft();

    const CanvasHit selected = canvasHit(scene, 0, frame, corner);
    QCOMPARE(selected.handle, Handle::BottomLeft);
    QCOMPARE(selected.layer, 0);
    for (const int nothing : { -1, 2 }) {
        const CanvasHit hit = canvasHit(scene, nothing, frame, corner);
        QCOMPARE(hit.handle, Handle::None);
        QCOMPARE(hit.layer, 1);
    }
}

void CanvasGeometryTest::drags_data()
{
    QTest::addColumn<LayerKind>("kind");
    QTest::addColumn<Box>("start");
    QTest::addColumn<Handle>("handle");
    QTest::addColumn<QPointF>("by"); // fractions of the frame
    QTest::addColumn<Box>("box");

    const Box camera { 0.1, 0.1, 0.4, 0.225 };
    const Box free { 0.4, 0.4, 0.2, 0.2 };
    const auto row = [](const char *name) -> QTestData & { return QTest::newRow(name); };
    row("camera grows with its height")
        << LayerKind::Camera << camera << Handle::BottomRight << QPointF(0.1, 0.3)
        << Box { 0.1, 0.1, 0.525 * 0.4 / 0.225, 0.525 };
    row("camera grows with its width") << LayerKind::Camera << camera << Handle::BottomRight
                                       << QPointF(0.4, 0.1) << Box { 0.1, 0.1, 0.8, 0.45 };
    row("image from the top left") << LayerKind::Image << free << Handle::TopLeft
                                   << QPointF(-0.1, 0) << Box { 0.3, 0.3, 0.3, 0.3 };
    row("text, top right") << LayerKind::Text << free << Handle::TopRight << QPointF(0.1, -0.2)
                           << Box { 0.4, 0.2, 0.3, 0.4 };
    row("text, bottom left") << LayerKind::Text << free << Handle::BottomLeft << QPointF(-0.1, 0.1)
                             << Box { 0.3, 0.4, 0.3, 0.3 };
    row("text flips past its anchor") << LayerKind::Text << free << Handle::BottomRight
                                      << QPointF(-0.5, -0.4) << Box { 0.1, 0.2, 0.3, 0.2 };
    row("text flips, not below the smallest")
        << LayerKind::Text << free << Handle::BottomRight << QPointF(-0.21, -0.2)
        << Box { 0.37, 0.4, 0.03, 0.03 };
    row("smallest at the anchor") << LayerKind::Color << free << Handle::TopLeft
                                  << QPointF(0.2, 0.2) << Box { 0.6, 0.6, 0.03, 0.03 };
    row("move") << LayerKind::Text << free << Handle::None << QPointF(-0.2, 0.1)
                << Box { 0.2, 0.5, 0.2, 0.2 };
    row("move far right and down") << LayerKind::Camera << free << Handle::None << QPointF(3, 3)
                                   << Box { 0.95, 0.95, 0.2, 0.2 };
    row("move far left and up") << LayerKind::Camera << free << Handle::None << QPointF(-3, -3)
                                << Box { -0.15, -0.15, 0.2, 0.2 };
    row("resize off the screen") << LayerKind::Text << Box { 0.9, 0.9, 0.2, 0.2 } << Handle::TopLeft
                                 << QPointF(0.15, 0.15) << Box { 0.95, 0.95, 0.05, 0.05 };
}

void CanvasGeometryTest::drags()
{
    QFETCH(LayerKind, kind);
    QFETCH(Box, start);
    QFETCH(Handle, handle);
    QFETCH(QPointF, by);
    QFETCH(Box, box);
    const QPointF press(700, 400);
    const QPointF pointer = press + QPointF(by.x() * frame.width(), by.y() * frame.height());
    const CanvasDrag drag { kind, start, handle, press };
    COMPARE_BOX(drag.boxAt(pointer, frame), box);
}

void CanvasGeometryTest::nudges_data()
{
    QTest::addColumn<Box>("from");
    QTest::addColumn<QPoint>("to");
    QTest::addColumn<bool>("large");
    QTest::addColumn<Box>("box");

    const Box middle { 0.5, 0.5, 0.2, 0.2 };
    QTest::newRow("left") << middle << QPoint(-1, 0) << false << Box { 0.495, 0.5, 0.2, 0.2 };
    QTest::newRow("down") << middle << QPoint(0, 1) << false << Box { 0.5, 0.505, 0.2, 0.2 };
    QTest::newRow("shift right") << middle << QPoint(1, 0) << true << Box { 0.55, 0.5, 0.2, 0.2 };
    QTest::newRow("shift up") << middle << QPoint(0, -1) << true << Box { 0.5, 0.45, 0.2, 0.2 };
    QTest::newRow("stops at the edge")
        << Box { 0.94, 0, 0.2, 0.2 } << QPoint(1, 0) << true << Box { 0.95, 0, 0.2, 0.2 };
}

void CanvasGeometryTest::nudges()
{
    QFETCH(Box, from);
    QFETCH(QPoint, to);
    QFETCH(bool, large);
    QFETCH(Box, box);
    COMPARE_BOX(nudgedBox(from, to.x(), to.y(), large), box);
}

void CanvasGeometryTest::frameWithoutExtentMovesNothing()
{
    const CanvasDrag drag { LayerKind::Text, { 0.1, 0.2, 0.3, 0.4 }, Handle::TopLeft, {} };
    QCOMPARE(drag.boxAt({ 50, 50 }, QRectF(0, 0, 0, 900)), drag.start);
    QCOMPARE(drag.boxAt({ 50, 50 }, QRectF(0, 0, 1600, 0)), drag.start);
}

NIMBARA_TEST(CanvasGeometryTest)
#include "canvas_geometry_test.moc"
