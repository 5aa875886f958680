#include "media/gst/gst_handles.h"
#include "media/sources/frame_pool.h"
#include "media/sources/media_factory.h"
#include "media/sources/rgba_conversion.h"
#include "poll.h"
#include "support/fake_device.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A picture of any format, mapped as long as this lives.
struct Picture {
    GstVideoInfo info {};
    BufferRef buffer;
    GstVideoFrame frame {};

    explicit Picture(const QByteArray &caps)
    {
        const auto parsed = CapsRef::adopt(gst_caps_from_string(caps));
        gst_video_info_from_caps(&info, parsed.get());
        buffer = BufferRef::adopt(gst_buffer_new_allocate(nullptr, info.size, nullptr));
        gst_video_frame_map(&frame, &info, buffer.get(), GST_MAP_READWRITE);
    }
    Q_DISABLE_COPY_MOVE(Picture)
    ~Picture() { gst_video_frame_unmap(&frame); }

    [[nodiscard]] std::uint8_t *bytes() const { return frame.map[0].data; }
};

constexpr int block = 8;

/// Blocks of one colour each, of all that there are.
void fillWithBlocks(const Picture &picture)
{
    std::mt19937 random(11);
    for (guint part = 0; part < GST_VIDEO_INFO_N_COMPONENTS(&picture.info); ++part) {
        const int wide = block >> GST_VIDEO_FORMAT_INFO_W_SUB(picture.info.finfo, part);
        const int high = block >> GST_VIDEO_FORMAT_INFO_H_SUB(picture.info.finfo, part);
        std::vector<std::uint8_t> colours;
        const int width = GST_VIDEO_FRAME_COMP_WIDTH(&picture.frame, part);
        for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&picture.frame, part); ++y) {
            auto *row = static_cast<std::uint8_t *>(GST_VIDEO_FRAME_COMP_DATA(&picture.frame, part))
                + std::ptrdiff_t { y } * GST_VIDEO_FRAME_COMP_STRIDE(&picture.frame, part);
            if (y % high == 0) {
                colours.resize(static_cast<std::size_t>(width / wide + 1));
                std::generate(colours.begin(), colours.end(), random);
            }
            for (int x = 0; x < width; ++x) {
                row[x * GST_VIDEO_FRAME_COMP_PSTRIDE(&picture.frame, part)]
                    = colours[static_cast<std::size_t>(x / wide)];
            }
        }
    }
}

/// At the edge of a block GStreamer rounds the mixed chroma twice, upwards.
bool isAtEdge(int x, int y)
{
    return x % block < 2 || x % block > block - 3 || y % block < 2 || y % block > block - 3;
}

} // namespace

class RgbaConversionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void coloursAreThoseOfGStreamer()
    {
        for (const char *format : { "YUY2", "NV12", "I420", "Y42B" }) {
            for (const char *colours : { "",
                     ",colorimetry=bt601",
                     ",colorimetry=bt709",
                     ",colorimetry=1:4:0:0",
                     ",colorimetry=1:3:5:1",
                     ",chroma-site=mpeg2",
                     ",chroma-site=jpeg" }) {
                for (const auto &[width, height] :
                    { std::pair { 640, 600 }, { 80, 48 }, { 33, 7 }, { 1, 1 } }) {
                    const QByteArray size = ",framerate=30/1,width=" + QByteArray::number(width)
                        + ",height=" + QByteArray::number(height);
                    const QByteArray caps
                        = QByteArray("video/x-raw,format=") + format + size + colours;
                    const RowName named(caps);
                    const Picture from(caps);
                    fillWithBlocks(from);
                    QVERIFY(convertsToRgba(from.info));
                    Frame made(width, height);
                    convertToRgba(from.frame, made);
                    compare(made, from, size);
                }
            }
        }
    }

    void otherPicturesAreLeftAlone()
    {
        for (const char *rest :
            { "format=RGBA", "format=UYVY", "format=I420,interlace-mode=interleaved" }) {
            const RowName named(rest);
            const Picture picture(
                QByteArray("video/x-raw,width=64,height=48,framerate=30/1,") + rest);
            QVERIFY(!convertsToRgba(picture.info));
        }
    }

    /// A frame is made while the picture needs no scaling, and by the converter's road while it
    /// does.
    void aSourceMakesFramesAsItIsShown()
    {
        ManualClock clock;
        const MediaFactory factory(clock, std::make_shared<Retirement>());
        const DeviceRef device
            = fakeDevice({ .opens = "videotestsrc is-live=true pattern=red ! capsfilter "
                                    "caps=video/x-raw,format=YUY2,width=640,height=360" });
        const MediaPtr camera = factory.camera({ 640, 360 }, device.get(), {});
        for (const FrameSize size :
            { FrameSize { 640, 360 }, { 320, 180 }, { 640, 360 }, { 960, 540 } }) {
            const RowName named(QByteArray::number(size.width));
            camera->showIn({ { double(size.width), double(size.height) } });
            clock.advanceUs(Media::settleUs);
            camera->showIn({ { double(size.width), double(size.height) } });
            QVERIFY(pollUntil(*camera,
                [&] { return camera->frame() && camera->frame()->size() == size; }));
            const auto colour = pixelAt(*camera->frame(), 0.5, 0.5);
            QVERIFY(colour[0] > 245 && colour[1] < 10 && colour[2] < 10);
            QCOMPARE(colour[3], 255);
            QVERIFY(camera->frame()->opaque);
        }
        QVERIFY(camera->takeMessage().isEmpty());
    }

    /// What somebody holds stays, also when its pool is gone.
    void framesAreUsedAgain()
    {
        auto pool = std::make_shared<FramePool>();
        auto one = pool->take({ 4, 2 });
        const auto other = pool->take({ 4, 2 });
        const Frame *first = one.get();
        QVERIFY(other.get() != first);
        one.reset();
        QCOMPARE(pool->take({ 4, 2 }).get(), first);
        QCOMPARE(pool->take({ 2, 4 })->size(), (FrameSize { 2, 4 }));
        pool.reset();
        QCOMPARE(other->pixels.size(), std::size_t { 32 });
    }

private:
    /// With colours of 16 bits: with those of eight GStreamer is six steps off itself.
    static void compare(const Frame &made, const Picture &from, const QByteArray &size)
    {
        Picture wanted("video/x-raw,format=RGBA64_LE" + size);
        GstVideoConverter *converter = gst_video_converter_new(&from.info, &wanted.info, nullptr);
        gst_video_converter_frame(converter, &from.frame, &wanted.frame);
        gst_video_converter_free(converter);
        const std::uint8_t *colour = wanted.bytes();
        std::array<int, 2> most {};
        for (int at = 0; at < made.width * made.height * 4; ++at, colour += 2) {
            const int value = qRound((colour[0] | colour[1] << 8) / 257.0);
            int &worst = most.at(isAtEdge(at / 4 % made.width, at / 4 / made.width) ? 1 : 0);
            worst = std::max(worst, std::abs(made.pixels[static_cast<std::size_t>(at)] - value));
        }
        QVERIFY2(most[0] <= 2 && most[1] <= 5,
            qPrintable(u"%1 and %2"_s.arg(most[0]).arg(most[1])));
    }
};

NIMBARA_TEST(RgbaConversionTest)

#include "rgba_conversion_test.moc"
