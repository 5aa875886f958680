#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize oldCamera { 640, 480 };

/// A white source of that size.
MediaPtr source(const MediaFactory &factory, FrameSize size)
{
    const QString opens = u"videotestsrc is-live=true pattern=white ! capsfilter "
                          "caps=video/x-raw,width=%1,height=%2"_s;
    const DeviceRef device
        = fakeDevice({ .opens = opens.arg(size.width).arg(size.height).toStdString() });
    return factory.camera({ 1920, 1080 }, device.get(), {});
}

/// Where the white picture around that point stands on red, in pixels.
QRect whiteRect(const QImage &picture, QPoint middle)
{
    QRect rect;
    for (int x = 0; x < picture.width(); ++x) {
        if (isNear(picture.pixelColor(x, middle.y()), Qt::white, 8)) {
            rect |= QRect(x, middle.y(), 1, 1);
        }
    }
    for (int y = 0; y < picture.height(); ++y) {
        if (isNear(picture.pixelColor(middle.x(), y), Qt::white, 8)) {
            rect |= QRect(middle.x(), y, 1, 1);
        }
    }
    return rect;
}

/// Each edge within a pixel.
bool isAlmost(const QRect &rect, const QRectF &exact)
{
    const auto near = [](int edge, double wanted) { return std::abs(edge - wanted) <= 1; };
    return near(rect.left(), exact.left()) && near(rect.top(), exact.top())
        && near(rect.left() + rect.width(), exact.right())
        && near(rect.top() + rect.height(), exact.bottom());
}

QByteArray written(const QRect &rect)
{
    return u"%1,%2 %3x%4"_s.arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height())
        .toUtf8();
}

} // namespace

class StudioShapeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Each program shows the same source in its own frame; what is beside a fitted picture is the
    /// layer below.
    void picturesFitAndCoverInBothPrograms()
    {
        const QRectF whole(0, 0, 1, 1);
        const QRectF inset(0.5, 0.25, 0.4, 0.5);
        for (const FrameSize size : { oldCamera,
                 FrameSize { 1280, 720 },
                 FrameSize { 360, 640 },
                 FrameSize { 1280, 1024 } }) {
            for (const StreamProfile profile :
                { StreamProfile::Landscape, StreamProfile::Portrait }) {
                StudioFixture desk;
                desk.studio.changeProfile(profile);
                for (const auto &[box, cover] : { std::pair { whole, false },
                         { whole, true },
                         { inset, false },
                         { inset, true } }) {
                    show(desk, source(m_factory, size), box, cover);
                    checkPlace(desk, SceneSet::Streams, size, box, cover);
                    checkPlace(desk, SceneSet::Hall, size, box, cover);
                }
            }
        }
    }

    /// A clip with pixels that are not square.
    void anAnamorphicClipKeepsItsShape()
    {
        ClipRecipe recipe { .width = 240, .height = 180, .seconds = 1 };
        recipe.extra = QStringList { u"-vf"_s, u"setsar=4/3,drawbox=c=white:t=fill"_s };
        StudioFixture desk;
        show(desk,
            m_factory.media({ 1920, 1080 }, fileLocation(clip(recipe))),
            { 0, 0, 1, 1 },
            false);
        checkPlace(desk, SceneSet::Streams, { 320, 180 }, { 0, 0, 1, 1 }, false);
    }

    /// "Ajustar" takes the picture's own shape, whatever the size at which it comes.
    void theEditorKnowsTheOwnShape()
    {
        StudioFixture desk;
        show(desk, source(m_factory, oldCamera), { 0, 0, 0.1, 0.9 }, true);
        QVERIFY(desk.runUntil([&] { return desk.source(1)->naturalSize().has_value(); }));
        QCOMPARE(desk.studio.sources().contentSize(desk.layer(1)), oldCamera);
    }

private:
    /// The source on red, in both programs.
    static void show(StudioFixture &desk, const MediaPtr &media, const QRectF &box, bool cover)
    {
        Layer layer = newLayer(LayerKind::Screen);
        layer.x = box.x();
        layer.y = box.y();
        layer.w = box.width();
        layer.h = box.height();
        layer.cover = cover;
        desk.studio.sources().pool().put(layer, media);
        for (const SceneSet set : { SceneSet::Hall, SceneSet::Streams }) {
            desk.studio.document().setEditing(set);
            desk.setLayers({ colorLayer(Qt::red), layer });
            QVERIFY(desk.takePrepared());
        }
        QVERIFY(desk.runUntil([&] { return media->frame() != nullptr; }));
        desk.frame(1'000'000); // the fade is over
    }

    static void
    checkPlace(StudioFixture &desk, SceneSet set, FrameSize size, const QRectF &box, bool cover)
    {
        const FrameSize frame = desk.studio.stage().frameOf(set);
        const QRectF into(box.x() * frame.width,
            box.y() * frame.height,
            box.width() * frame.width,
            box.height() * frame.height);
        const double scale = std::min(into.width() / size.width, into.height() / size.height);
        QRectF exact(0, 0, size.width * scale, size.height * scale);
        exact.moveCenter(into.center());
        const QRectF wanted = cover ? into : exact;
        QRect found;
        const bool isThere = desk.runUntil([&] {
            found = whiteRect(set == SceneSet::Hall ? desk.pictures.hall : desk.pictures.streams,
                into.center().toPoint());
            return isAlmost(found, wanted);
        });
        QVERIFY2(isThere, written(found) + " for " + written(wanted.toRect()));
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
};

NIMBARA_TEST(StudioShapeTest)
#include "shape_test.moc"
