#include "output/encode/encoder_pool.h"
#include "output/encode/i420.h"
#include "output/encode/picture_converter.h"
#include "output/encode/pressure.h"
#include "output/encode/program_encoder.h"
#include "support/test_registry.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <cmath>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t second = 1'000'000'000;

FramePtr rainbow(FrameSize size)
{
    auto frame = std::make_shared<Frame>(size.width, size.height);
    std::uint8_t *pixel = frame->pixels.data();
    for (std::int32_t y = 0; y < size.height; ++y) {
        for (std::int32_t x = 0; x < size.width; ++x, pixel += 4) {
            pixel[0] = static_cast<std::uint8_t>(127 + 127 * std::sin(x * 0.05));
            pixel[1] = static_cast<std::uint8_t>(127 + 127 * std::sin(y * 0.03 + x * 0.01));
            pixel[2] = static_cast<std::uint8_t>(127 + 127 * std::cos(x * 0.02 - y * 0.04));
        }
    }
    return frame;
}

FramePtr noise(FrameSize size, unsigned seed)
{
    auto frame = std::make_shared<Frame>(size.width, size.height);
    std::minstd_rand dice(seed);
    for (std::uint8_t &value : frame->pixels) {
        value = static_cast<std::uint8_t>(dice() >> 8);
    }
    return frame;
}

/// Counts what an encoder makes of its pictures.
struct PictureCount final : EncodedTap {
    std::atomic<std::uint64_t> bytes = 0;
    std::atomic<int> pictures = 0;
    std::atomic<int> keys = 0;
    void take(Track track, const EncodedUnit &unit) override
    {
        if (track == Track::Picture) {
            bytes += gst_buffer_get_size(unit.buffer.get());
            ++pictures;
            keys += unit.isKey ? 1 : 0;
        }
    }
    void end(Track /*track*/) override { }
};

/// The picture by GStreamer's own converter, mapped as long as this lives.
struct Reference {
    GstVideoInfo info {};
    BufferRef buffer;
    GstVideoFrame picture {};

    explicit Reference(const Frame &frame)
    {
        const auto width = static_cast<guint>(frame.width);
        const auto height = static_cast<guint>(frame.height);
        GstVideoInfo from;
        gst_video_info_set_format(&from, GST_VIDEO_FORMAT_RGBA, width, height);
        gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, width, height);
        buffer = BufferRef::adopt(gst_buffer_new_allocate(nullptr, info.size, nullptr));
        const auto rgba = BufferRef::adopt(gst_buffer_new_allocate(nullptr, from.size, nullptr));
        gst_buffer_fill(rgba.get(), 0, frame.pixels.data(), frame.pixels.size());
        GstVideoFrame source;
        gst_video_frame_map(&source, &from, rgba.get(), GST_MAP_READ);
        gst_video_frame_map(&picture, &info, buffer.get(), GST_MAP_READWRITE);
        GstVideoConverter *converter = gst_video_converter_new(&from, &info, nullptr);
        gst_video_converter_frame(converter, &source, &picture);
        gst_video_converter_free(converter);
        gst_video_frame_unmap(&source);
    }
    Q_DISABLE_COPY_MOVE(Reference)
    ~Reference() { gst_video_frame_unmap(&picture); }
};

int largestDifference(const GstVideoFrame &a, const GstVideoFrame &b, guint plane)
{
    int most = 0;
    for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&a, plane); ++y) {
        const auto row = [&](const GstVideoFrame &frame) {
            return static_cast<const std::uint8_t *>(GST_VIDEO_FRAME_COMP_DATA(&frame, plane))
                + static_cast<std::ptrdiff_t>(y) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, plane);
        };
        for (int x = 0; x < GST_VIDEO_FRAME_COMP_WIDTH(&a, plane); ++x) {
            most = std::max(most, std::abs(row(a)[x] - row(b)[x]));
        }
    }
    return most;
}

} // namespace

class EncodeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void picturesKeepTheirColours()
    {
        for (const FrameSize size :
            { FrameSize { 1920, 1080 }, { 320, 180 }, { 35, 33 }, { 1, 1 } }) {
            const FramePtr frame = rainbow(size);
            const Reference wanted(*frame);
            PictureConverter converter;
            const BufferRef made = converter.convert(frame, GST_VIDEO_FORMAT_I420);
            GstVideoFrame picture;
            QVERIFY(gst_video_frame_map(&picture, &wanted.info, made.get(), GST_MAP_READ) != FALSE);
            for (guint plane = 0; plane < 3; ++plane) {
                const int most = largestDifference(picture, wanted.picture, plane);
                QVERIFY2(most <= (plane == 0 ? 1 : 3), qPrintable(QString::number(most)));
            }
            gst_video_frame_unmap(&picture);
            QCOMPARE(converter.convert(frame, GST_VIDEO_FORMAT_I420).get(), made.get()); // once
            QVERIFY(converter.convert(rainbow(size), GST_VIDEO_FORMAT_I420).get() != made.get());
        }
    }

    void pressureIsTakenInSteps()
    {
        Pressure pressure;
        bool canSpare = true;
        std::int64_t now = 0;
        std::uint64_t pushed = 0;
        std::uint64_t lost = 0;
        int due = 0; // hundredths of the next that is lost
        const auto run = [&](int seconds, int lostOfHundred) {
            for (int i = 0; i < seconds * 30; ++i) {
                now += second / 30;
                ++pushed;
                due += lostOfHundred;
                lost += due >= 100 ? 1 : 0;
                due -= due >= 100 ? 100 : 0;
                pressure.observe(now, pushed, lost, canSpare);
            }
            return pressure.effort();
        };
        QCOMPARE(run(60, 3), Effort::Full); // a few by chance
        QCOMPARE(run(3, 15), Effort::Cheaper);
        QCOMPARE(run(60, 15), Effort::Thinned); // every second one would be more
        QCOMPARE(run(10, 60), Effort::HalfRate);
        QCOMPARE(run(19, 0), Effort::HalfRate);
        QCOMPARE(run(5, 0), Effort::Thinned);
        QCOMPARE(run(5, 60), Effort::HalfRate); // too early: it waits for longer now
        QCOMPARE(run(30, 0), Effort::HalfRate);
        QCOMPARE(run(20, 0), Effort::Thinned);
        pushed = lost = 0; // other encoders
        QCOMPARE(run(4, 0), Effort::Thinned);
        QCOMPARE(run(50, 0), Effort::Cheaper);
        canSpare = false;
        QCOMPARE(run(1, 0), Effort::Full); // nothing is said that is not done
        QCOMPARE(run(60, 0), Effort::Full);
        QCOMPARE(run(2, 15), Effort::Full); // a moment costs no picture
        QCOMPARE(run(4, 15), Effort::Thinned);
    }

    void picturesAreLeftOutEvenly()
    {
        constexpr FrameSize size { 160, 90 };
        ProgramEncoder encoder({ size.width, size.height, Codecs::H264Aac, 500'000 });
        QTRY_VERIFY(encoder.ready());
        const FramePtr frame = rainbow(size);
        std::int64_t tick = 0;
        for (const auto &[effort, pattern] : { std::pair { Effort::Cheaper, "++++++++++++" },
                 { Effort::Thinned, "+++++-+++++-" },
                 { Effort::HalfRate, "+-+-+-+-+-+-" } }) {
            encoder.setEffort(effort);
            QByteArray taken;
            for (int i = 0; i < 12; ++i) {
                const std::uint64_t before = encoder.pushed();
                encoder.stamp(++tick * second / 30);
                encoder.pushVideo(frame);
                taken += encoder.pushed() > before ? '+' : '-';
            }
            QCOMPARE(taken, QByteArray(pattern));
        }
    }

    /// Only VP8 has simpler coding to offer; H.264 has its simplest from the start.
    void onlyWhatIsDoneUnderPressureIsSaid()
    {
        constexpr FrameSize size { 1280, 720 };
        const std::array frames { noise(size, 1), noise(size, 2) };
        for (const auto &[name, codecs, steps] :
            { std::tuple { "H.264", Codecs::H264Aac, QList { Effort::Full, Effort::HalfRate } },
                { "VP8",
                    Codecs::Vp8Vorbis,
                    { Effort::Full, Effort::Cheaper, Effort::HalfRate } } }) {
            const RowName named(name);
            EncoderPool pool;
            const auto encoder = pool.take({ size.width, size.height, codecs, 20'000'000 });
            QTRY_VERIFY(encoder->ready());
            QList<Effort> taken;
            for (int i = 0; i < 300; ++i) { // faster than any encoder
                encoder->stamp(i * second / 30);
                encoder->pushVideo(frames.at(static_cast<std::size_t>(i) % frames.size()));
                pool.poll(i * second / 30);
                if (taken.isEmpty() || taken.back() != pool.effort()) {
                    taken << pool.effort();
                }
            }
            QCOMPARE(taken, steps);
        }
    }

    /// One that joins soon after another is not asked a key frame for at once.
    void oneThatJoinsAtHalfRateWaitsNoLonger()
    {
        constexpr FrameSize size { 160, 90 };
        ProgramEncoder encoder({ size.width, size.height, Codecs::H264Aac, 500'000 });
        const std::array taps { std::make_shared<PictureCount>(),
            std::make_shared<PictureCount>(),
            std::make_shared<PictureCount>() };
        encoder.join(taps[0]);
        QTRY_VERIFY(encoder.ready());
        const FramePtr frame = rainbow(size);
        int tick = 0;
        const auto run = [&](int ticks) {
            for (const int end = tick + ticks; tick < end; ++tick) {
                encoder.stamp(tick * second / 30);
                encoder.pushVideo(frame);
                const auto pushed = static_cast<int>(encoder.pushed());
                QTRY_COMPARE(taps[0]->pictures.load(), pushed);
            }
        };
        run(90);
        encoder.setEffort(Effort::HalfRate);
        encoder.join(taps[1]);
        run(10);
        QCOMPARE(taps[1]->keys.load(), 1);
        encoder.join(taps[2]);
        run(60);
        QCOMPARE(taps[2]->keys.load(), 1); // and not one for each of them
    }

    void theRateFollowsMostDestinations()
    {
        RateAdaptation rate(6'000'000);
        enum Queue { Well, Waits, Drains, Drops };
        std::array<QueueReading, 3> queues { { { 1, 0, 0 }, { 2, 0, 0 }, { 3, 0, 0 } } };
        std::int64_t now = 0;
        const auto run = [&](int windows, const std::vector<Queue> &states) {
            for (; windows > 0; --windows) {
                for (std::size_t i = 0; i < states.size(); ++i) {
                    const std::uint64_t waiting = queues.at(i).waitingNs;
                    queues.at(i).waitingNs = states[i] == Waits ? 2 * second
                        : states[i] == Drains                   ? waiting / 4 * 3
                                                                : 0;
                    queues.at(i).dropped += states[i] == Drops ? 20 : 0;
                }
                now += RateAdaptation::windowNs;
                rate.observe(now, { queues.data(), states.size() });
            }
            return rate.bitrate() / 1000;
        };
        QCOMPARE(run(30, { Drops, Well, Well }), 6000); // alone
        QCOMPARE(run(30, { Drops, Well }), 6000); // half are not most
        QCOMPARE(run(2, { Well, Well, Well }), 6000);
        QCOMPARE(run(1, { Waits, Drops, Well }), 4800);
        QCOMPARE(run(3, { Drains, Drains, Well }), 4800); // what was done helps
        QCOMPARE(run(30, { Drops, Waits, Well }), 3000); // no less than half
        QCOMPARE(run(4, { Drops, Well, Well }), 3000);
        QCOMPARE(run(1, { Drops, Well, Well }), 3300);
        QCOMPARE(run(1, { Drops, Drops, Well }), 3000); // too early: it waits for longer now
        QCOMPARE(run(9, { Well, Well, Well }), 3000);
        QCOMPARE(run(1, { Well, Well, Well }), 3300);
        QCOMPARE(run(200, { Well, Well, Well }), 6000);
        QCOMPARE(run(1, { Drops }), 4800); // one alone is all
    }

    void anEncoderAtWorkTakesAnotherRate()
    {
        constexpr FrameSize size { 320, 180 };
        ProgramEncoder encoder({ size.width, size.height, Codecs::H264Aac, 6'000'000 });
        const auto tap = std::make_shared<PictureCount>();
        encoder.join(tap);
        QTRY_VERIFY(encoder.ready());
        const std::array frames { noise(size, 1), noise(size, 2), noise(size, 3) };
        int count = 0;
        std::uint64_t dropped = 0;
        const auto bytesOf = [&](int pictures, std::uint64_t drops) {
            const std::uint64_t before = tap->bytes;
            for (const int end = count + pictures; count < end; ++count) {
                encoder.stamp(count * second / 30);
                encoder.pushVideo(frames.at(static_cast<std::size_t>(count) % frames.size()));
                if (encoder.asksForQueues()) {
                    encoder.tellQueue({ 1, 0, dropped += drops });
                }
                encoder.fitRate();
                for (int i = 0; i < 100'000 && tap->pictures <= count; ++i) {
                    QThread::usleep(100);
                }
            }
            return tap->bytes - before;
        };
        bytesOf(30, 0);
        const std::uint64_t whole = bytesOf(60, 0);
        bytesOf(300, 1);
        QCOMPARE(encoder.rateShare(), 0.5);
        const std::uint64_t half = bytesOf(60, 1);
        QVERIFY2(half < whole * 2 / 3, qPrintable(u"%1 of %2"_s.arg(half).arg(whole)));
    }
};

NIMBARA_TEST(EncodeTest)
#include "encode_test.moc"
