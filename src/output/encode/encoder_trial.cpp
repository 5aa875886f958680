#include "output/encode/encoder_trial.h"

#include "base/error.h"
#include "base/log.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/task_threads.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace nimbara {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int pictureCount = 30;
constexpr int differentCount = 4; ///< pictures, which come again and again
constexpr std::int32_t trialBitrate = 6'000'000;
constexpr int block = 32; ///< pixels
constexpr double mostDifference = 10; ///< of 255, on average over a plane
constexpr std::array decoders { "avdec_h264", "openh264dec" };

/// A field of the picture of that number: neighbours in place and in time are far apart.
std::uint8_t field(int row, int column, int number)
{
    return static_cast<std::uint8_t>(40 + (row + column + number) % differentCount * 50);
}

BufferRef picture(const GstVideoInfo &info, int number)
{
    auto made = BufferRef::adopt(gst_buffer_new_allocate(nullptr, info.size, nullptr));
    GstVideoFrame frame;
    if (!made || gst_video_frame_map(&frame, &info, made.get(), GST_MAP_WRITE) == FALSE) {
        throw Error(QStringLiteral("No se pudo enviar video a salida"));
    }
    for (guint component = 0; component < 3; ++component) {
        const int step = component == 0 ? block : block / 2;
        const int shift = static_cast<int>(component) * number; // no two move alike
        for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component); ++y) {
            auto *pixel = static_cast<std::uint8_t *>(GST_VIDEO_FRAME_COMP_DATA(&frame, component))
                + static_cast<std::ptrdiff_t>(y) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
            for (int x = 0; x < GST_VIDEO_FRAME_COMP_WIDTH(&frame, component); ++x) {
                *pixel = field(y / step, x / step, number + shift);
                pixel += GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component);
            }
        }
    }
    gst_video_frame_unmap(&frame);
    return made;
}

double difference(const GstVideoFrame &a, const GstVideoFrame &b, guint component)
{
    std::int64_t sum = 0;
    const int height = GST_VIDEO_FRAME_COMP_HEIGHT(&a, component);
    const int width = GST_VIDEO_FRAME_COMP_WIDTH(&a, component);
    const auto pixel = [component](const GstVideoFrame &frame, int x, int y) -> int {
        return static_cast<const std::uint8_t *>(
            GST_VIDEO_FRAME_COMP_DATA(&frame, component))[static_cast<std::ptrdiff_t>(y)
                * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component)
            + static_cast<std::ptrdiff_t>(x) * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component)];
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            sum += std::abs(pixel(a, x, y) - pixel(b, x, y));
        }
    }
    return static_cast<double>(sum) / (static_cast<double>(width) * height);
}

bool alike(const GstVideoInfo &info, GstBuffer *wanted, GstBuffer *got)
{
    GstVideoFrame a;
    GstVideoFrame b;
    if (gst_video_frame_map(&a, &info, wanted, GST_MAP_READ) == FALSE) {
        return false;
    }
    bool same = gst_video_frame_map(&b, &info, got, GST_MAP_READ) != FALSE;
    if (same) {
        for (guint component = 0; component < 3; ++component) {
            same = same && difference(a, b, component) < mostDifference;
        }
        gst_video_frame_unmap(&b);
    }
    gst_video_frame_unmap(&a);
    return same;
}

GstElement *makeDecoder(const PipelineParts &parts)
{
    for (const char *factory : decoders) {
        if (isAvailable({ .factory = factory })) {
            return parts.make(factory);
        }
    }
    throw Error("Componente no disponible: " + Message::verbatim(QLatin1String("avdec_h264")));
}

/// When the first picture came out of the encoder, and the last; on its thread.
struct Pace {
    std::atomic<Clock::rep> first = 0;
    std::atomic<Clock::rep> last = 0;

    void note()
    {
        const auto now = Clock::now().time_since_epoch().count();
        Clock::rep none = 0;
        first.compare_exchange_strong(none, now);
        last = now;
    }
    [[nodiscard]] Clock::duration length() const { return Clock::duration(last - first); }
};

std::shared_ptr<const Pace> paceOf(GstElement *encoder)
{
    auto pace = std::make_shared<Pace>();
    using Shared = std::shared_ptr<Pace>;
    gst_pad_add_probe(
        padOf(encoder, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer own) {
            (*static_cast<Shared *>(own))->note();
            return GST_PAD_PROBE_OK;
        },
        new Shared(pace),
        [](gpointer own) { delete static_cast<Shared *>(own); });
    return pace;
}

/// From raw pictures over the encoder back to raw pictures of the same format.
class Bench {
public:
    Bench(const EncoderChoice &choice, FrameSize size)
    {
        gst_video_info_set_format(&m_info,
            gst_video_format_from_string(choice.inputFormat),
            static_cast<guint>(size.width),
            static_cast<guint>(size.height));
        GST_VIDEO_INFO_FPS_N(&m_info) = pictureCount;
        GST_VIDEO_INFO_FPS_D(&m_info) = 1;
        PipelineParts parts("nimbara-trial");
        m_source = ElementRef::retain(parts.makeInput());
        const auto caps = CapsRef::adopt(gst_video_info_to_caps(&m_info));
        g_object_set(m_source.get(), "caps", caps.get(), nullptr);
        GstElement *encoder = parts.make(choice.factory);
        choice.configure(G_OBJECT(encoder), trialBitrate);
        m_pace = paceOf(encoder);
        GstElement *convert = parts.make("videoconvert");
        GstElement *format = parts.makeFilter(
            QStringLiteral("video/x-raw, format=") + QLatin1String(choice.inputFormat));
        m_sink = ElementRef::retain(parts.make("appsink"));
        g_object_set(m_sink.get(), "sync", FALSE, nullptr);
        PipelineParts::link({ m_source.get(),
            encoder,
            parts.makeQueue(0), // the encoder alone is timed
            parts.make("h264parse"),
            makeDecoder(parts),
            convert,
            format,
            m_sink.get() });
        m_pipeline = parts.take();
        setThreadTurn(m_pipeline.bus(), ThreadTurn::AfterOthers);
        for (int number = 0; number < differentCount; ++number) {
            m_pictures.at(static_cast<std::size_t>(number)) = picture(m_info, number);
        }
    }
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;
    Bench(Bench &&) = delete;
    Bench &operator=(Bench &&) = delete;
    /// One that hangs holds nobody up.
    ~Bench()
    {
        try {
            auto left = std::make_unique<Pipeline>(std::move(m_pipeline));
            std::thread([held = std::move(left)]() mutable { held.reset(); }).detach();
        } catch (const std::system_error &) {
            // The system has no thread left: it ended right here.
        }
    }

    /// Each picture is held against its own as it comes.
    bool run(Clock::time_point deadline, Clock::duration pace)
    {
        if (!m_pipeline.play()) {
            return false;
        }
        auto *source = GST_APP_SRC(m_source.get());
        for (int number = 0; number < pictureCount; ++number) {
            gst_app_src_push_buffer(source, timed(number).release());
        }
        gst_app_src_end_of_stream(source);
        for (int number = 0; number < pictureCount; ++number) {
            const SampleRef sample = pull(deadline);
            if (!sample || !alike(m_info, wanted(number), gst_sample_get_buffer(sample.get()))) {
                return false;
            }
        }
        return m_pace->length() <= pace;
    }

private:
    [[nodiscard]] GstBuffer *wanted(int number) const
    {
        return m_pictures.at(static_cast<std::size_t>(number % differentCount)).get();
    }
    [[nodiscard]] BufferRef timed(int number) const
    {
        auto made = BufferRef::adopt(gst_buffer_copy(wanted(number))); // shares the pixels
        GST_BUFFER_PTS(made.get()) = gst_util_uint64_scale(GST_SECOND, number, pictureCount);
        GST_BUFFER_DURATION(made.get()) = GST_SECOND / pictureCount;
        return made;
    }
    /// An error ends the wait no earlier: the deadline is near enough.
    [[nodiscard]] SampleRef pull(Clock::time_point deadline) const
    {
        const auto left = std::chrono::nanoseconds(deadline - Clock::now()).count();
        return left <= 0 ? SampleRef()
                         : SampleRef::adopt(gst_app_sink_try_pull_sample(GST_APP_SINK(m_sink.get()),
                             static_cast<GstClockTime>(left)));
    }

    GstVideoInfo m_info {};
    std::array<BufferRef, differentCount> m_pictures;
    std::shared_ptr<const Pace> m_pace;
    ElementRef m_source;
    ElementRef m_sink;
    Pipeline m_pipeline;
};

} // namespace

bool passesTrial(const EncoderChoice &choice, const TrialTask &task)
{
    const auto deadline = Clock::now() + task.limit;
    try {
        Bench bench(choice, task.size);
        return bench.run(deadline, task.pace);
    } catch (const std::exception &error) {
        logLine(errorText(error));
        return false;
    }
}

} // namespace nimbara
