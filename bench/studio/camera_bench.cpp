#include "bench.h"
#include "media/sources/media_factory.h"
#include "studio/studio_run.h"
#include "support/fake_device.h"

#include <QTemporaryDir>

#include <gst/gst.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

// What it costs to bring a camera's picture in.

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace nimbara::testing;
using namespace std::chrono_literals;

constexpr auto length = 10s;

/// Cores that the process uses from now on while `step` is called 200 times a second.
template <typename Step> double coresOf(Step step)
{
    const double before = processCpuSeconds();
    const auto begun = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begun < length) {
        step();
        std::this_thread::sleep_for(5ms);
    }
    return (processCpuSeconds() - before)
        / std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

std::string toldCamera(const std::string &name, const std::string &view, const std::string &caps)
{
    const SystemClock clock;
    const MediaFactory factory(clock, std::make_shared<Retirement>());
    const DeviceRef device = fakeDevice({ .caps = caps, .opens = view });
    const auto modes = modesToTry(device.get(), landscapeSize, std::nullopt);
    const MediaPtr camera = factory.camera(landscapeSize,
        device.get(),
        modes.empty() ? std::nullopt : std::optional(modes.front()));
    const auto read = [&] {
        camera->pollSource();
        static_cast<void>(camera->frame());
    };
    while (camera->active() && camera->frameCount() < 15) {
        read();
        std::this_thread::sleep_for(5ms);
    }
    const auto before = camera->frameCount();
    const double cores = coresOf(read);
    std::array<char, 160> line {};
    std::snprintf(line.data(),
        line.size(),
        "\n  %-6s %.1f pictures per second, %.3f cores",
        name.c_str(),
        static_cast<double>(camera->frameCount() - before) / length.count(),
        cores);
    return line.data();
}

/// One picture for ever, which costs the stand-in for the device nothing.
std::string still(const std::string &caps)
{
    return "videotestsrc num-buffers=1 pattern=smpte100 ! capsfilter caps=" + caps
        + " ! imagefreeze is-live=true";
}

std::string jpegs(const QString &folder)
{
    const std::string path = folder.toStdString() + "/still.jpg";
    GstElement *pipeline = gst_parse_launch(
        ("videotestsrc num-buffers=1 pattern=smpte100 ! video/x-raw,width=1920,height=1080 ! "
         "jpegenc ! filesink location="
            + path)
            .c_str(),
        nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus *bus = gst_element_get_bus(pipeline);
    gst_message_unref(gst_bus_timed_pop_filtered(bus,
        GST_CLOCK_TIME_NONE,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return "multifilesrc loop=true location=" + path
        + " caps=image/jpeg,width=1920,height=1080,framerate=30/1 ! "
          "clocksync";
}

std::string tellCamera()
{
    const QTemporaryDir folder;
    const std::string mode = ",width=1920,height=1080,framerate=30/1";
    std::string told;
    for (const std::string format : { "YUY2", "NV12", "I420" }) {
        const std::string caps = "video/x-raw,format=" + format + mode;
        told += toldCamera(format, still(caps), caps);
    }
    return told + toldCamera("MJPEG", jpegs(folder.path()), "image/jpeg" + mode);
}

} // namespace

NIMBARA_BENCH_CASE("camera", tellCamera)
