#include "scene/box_compare.h"
#include "scene/layer_geometry.h"
#include "scene/profile.h"
#include "support/test_registry.h"

using namespace nimbara;

Q_DECLARE_METATYPE(FrameSize)
Q_DECLARE_METATYPE(LayerKind)

class LayerGeometryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newImageTakesThePicturesShape_data();
    void newImageTakesThePicturesShape();
    void editedPositionKeepsTheAspectOfPictures_data();
    void editedPositionKeepsTheAspectOfPictures();
    void untouchedFieldsKeepTheirExactValue();
    void alignsInTheGrid_data();
    void alignsInTheGrid();
    void fitsToTheFrame_data();
    void fitsToTheFrame();
};

void LayerGeometryTest::newImageTakesThePicturesShape_data()
{
    QTest::addColumn<FrameSize>("image");
    QTest::addColumn<FrameSize>("profile");
    QTest::addColumn<Box>("box");

    QTest::newRow("16:9") << FrameSize { 1280, 720 } << landscapeSize
                          << Box { 0.55, 0.05, 0.4, 0.4 };
    QTest::newRow("square") << FrameSize { 500, 500 } << landscapeSize
                            << Box { 0.55, 0.05, 0.4, 0.4 * 1920 / 1080 };
    QTest::newRow("tall: height bounded") << FrameSize { 100, 400 } << landscapeSize
                                          << Box { 0.55, 0.05, 0.9 * 0.25 * 1080 / 1920, 0.9 };
    QTest::newRow("square in portrait")
        << FrameSize { 500, 500 } << portraitSize << Box { 0.55, 0.05, 0.4, 0.4 * 1080 / 1920 };
    QTest::newRow("tall in portrait") << FrameSize { 100, 1000 } << portraitSize
                                      << Box { 0.55, 0.05, 0.9 * 0.1 * 1920 / 1080, 0.9 };
    QTest::newRow("no picture") << FrameSize {} << landscapeSize << Box { 0.55, 0.05, 0.4, 0.4 };
    QTest::newRow("no height") << FrameSize { 10, 0 } << landscapeSize
                               << Box { 0.55, 0.05, 0.4, 0.4 };
}

void LayerGeometryTest::newImageTakesThePicturesShape()
{
    QFETCH(FrameSize, image);
    QFETCH(FrameSize, profile);
    QFETCH(Box, box);
    COMPARE_BOX(newImageBox(image, profile), box);
}

void LayerGeometryTest::editedPositionKeepsTheAspectOfPictures_data()
{
    QTest::addColumn<LayerKind>("kind");
    QTest::addColumn<Box>("old");
    QTest::addColumn<Box>("percent");
    QTest::addColumn<Box>("box");

    const Box old { 0.1, 0.2, 0.4, 0.3 };
    const Box wide { 10, 20, 50, 30 };
    const Box high { 10, 20, 40, 60 };
    QTest::newRow("image, width") << LayerKind::Image << old << wide
                                  << Box { 0.1, 0.2, 0.5, 0.375 };
    QTest::newRow("camera, height")
        << LayerKind::Camera << old << high << Box { 0.1, 0.2, 0.8, 0.6 };
    QTest::newRow("screen, both: height wins")
        << LayerKind::Screen << old << Box { 10, 20, 50, 60 } << Box { 0.1, 0.2, 0.8, 0.6 };
    QTest::newRow("text, width") << LayerKind::Text << old << wide << Box { 0.1, 0.2, 0.5, 0.3 };
    QTest::newRow("color, height") << LayerKind::Color << old << high << Box { 0.1, 0.2, 0.4, 0.6 };
    QTest::newRow("image, place only")
        << LayerKind::Image << old << Box { -95, 95, 40, 30 } << Box { -0.95, 0.95, 0.4, 0.3 };
    QTest::newRow("video, width of a height between two steps")
        << LayerKind::Video << Box { 0, 0, 0.4, 0.71111 } << Box { 0, 0, 20, 71.1 }
        << Box { 0, 0, 0.2, 0.355555 };
}

void LayerGeometryTest::editedPositionKeepsTheAspectOfPictures()
{
    QFETCH(LayerKind, kind);
    QFETCH(Box, old);
    QFETCH(Box, percent);
    QFETCH(Box, box);
    COMPARE_BOX(editedBox(kind, old, percent), box);
}

void LayerGeometryTest::untouchedFieldsKeepTheirExactValue()
{
    // A box between the steps of the fields, and one beyond their ranges (X −1.5, W 4).
    for (const Box &old : { Box { 0.55, 0.05, 0.4, 0.711111 }, Box { -1.5, 0.3333, 4, 0.01234 } }) {
        const Box shown { shownPercent(old.x, placePercent),
            shownPercent(old.y, placePercent),
            shownPercent(old.w, sizePercent),
            shownPercent(old.h, sizePercent) };
        Box moved = shown;
        moved.y = -12.3;
        QCOMPARE(editedBox(LayerKind::Image, old, shown), old);
        COMPARE_BOX(editedBox(LayerKind::Image, old, moved), (Box { old.x, -0.123, old.w, old.h }));
    }
}

void LayerGeometryTest::alignsInTheGrid_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("row");
    QTest::addColumn<Box>("box");

    QTest::newRow("top left") << 0 << 0 << Box { 0, 0, 0.5, 0.2 };
    QTest::newRow("top right") << 2 << 0 << Box { 0.5, 0, 0.5, 0.2 };
    QTest::newRow("left") << 0 << 1 << Box { 0, 0.4, 0.5, 0.2 };
    QTest::newRow("centre") << 1 << 1 << Box { 0.25, 0.4, 0.5, 0.2 };
    QTest::newRow("bottom") << 1 << 2 << Box { 0.25, 0.8, 0.5, 0.2 };
    QTest::newRow("bottom right") << 2 << 2 << Box { 0.5, 0.8, 0.5, 0.2 };
}

void LayerGeometryTest::alignsInTheGrid()
{
    QFETCH(int, column);
    QFETCH(int, row);
    QFETCH(Box, box);
    COMPARE_BOX(alignedBox({ 0.7, -0.3, 0.5, 0.2 }, column, row), box);
}

void LayerGeometryTest::fitsToTheFrame_data()
{
    QTest::addColumn<LayerKind>("kind");
    QTest::addColumn<FrameSize>("content");
    QTest::addColumn<FrameSize>("profile");
    QTest::addColumn<Box>("box");

    QTest::newRow("4:3 camera") << LayerKind::Camera << FrameSize { 640, 480 } << landscapeSize
                                << Box { 0.125, 0, 0.75, 1 };
    QTest::newRow("16:9 video") << LayerKind::Video << FrameSize { 1280, 720 } << landscapeSize
                                << fullFrame;
    QTest::newRow("2:1 image") << LayerKind::Image << FrameSize { 200, 100 } << landscapeSize
                               << Box { 0, 1 - 17.0 / 18, 1, 8.0 / 9 };
    QTest::newRow("16:9 screen in portrait")
        << LayerKind::Screen << FrameSize { 1920, 1080 } << portraitSize
        << Box { 0, (1 - 0.31640625) / 2, 1, 0.31640625 };
    QTest::newRow("text") << LayerKind::Text << FrameSize { 640, 480 } << landscapeSize
                          << fullFrame;
    QTest::newRow("camera without size")
        << LayerKind::Camera << FrameSize {} << landscapeSize << fullFrame;
}

void LayerGeometryTest::fitsToTheFrame()
{
    QFETCH(LayerKind, kind);
    QFETCH(FrameSize, content);
    QFETCH(FrameSize, profile);
    QFETCH(Box, box);
    COMPARE_BOX(fittedBox(kind, content, profile), box);
    COMPARE_BOX(fittedBox(kind, std::nullopt, profile), fullFrame);
}

NIMBARA_TEST(LayerGeometryTest)
#include "layer_geometry_test.moc"
