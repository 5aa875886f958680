#include "output/encode/encoders.h"

#include "media/gst/gst_build.h"
#include "media/gst/gst_handles.h"

#include <array>

namespace nimbara {

namespace {

constexpr int keyFrameSpacing = 60; // 2 s at 30 frames per second
constexpr int aacBitrate = 160000;
constexpr int vp8Speed = 8;
constexpr int vp8TopSpeed = 16;

void configureVideoToolbox(GObject *encoder, std::int32_t bitrate)
{
    g_object_set(encoder,
        "bitrate",
        static_cast<guint>(bitrate / 1000),
        "realtime",
        TRUE,
        "max-keyframe-interval",
        keyFrameSpacing,
        nullptr);
}

void configureOpenH264(GObject *encoder, std::int32_t bitrate)
{
    g_object_set(encoder,
        "bitrate",
        static_cast<guint>(bitrate),
        "rate-control",
        1, // bit rate mode
        "gop-size",
        static_cast<guint>(keyFrameSpacing),
        "complexity",
        0, // low
        "multi-thread",
        2U,
        nullptr);
}

void configureVp8(GObject *encoder, std::int32_t bitrate)
{
    g_object_set(encoder,
        "deadline",
        gint64 { 1 }, // real time
        "cpu-used",
        vp8Speed,
        "target-bitrate",
        bitrate,
        "threads",
        1, // two wait for each other with their cores spinning
        nullptr);
}

void setVp8Cheaper(GObject *encoder, bool cheaper)
{
    g_object_set(encoder, "cpu-used", cheaper ? vp8TopSpeed : vp8Speed, nullptr);
}

void configureAac(GObject *encoder, std::int32_t /*bitrate*/)
{
    g_object_set(encoder, "bitrate", aacBitrate, nullptr);
}

void keepDefaults(GObject * /*encoder*/, std::int32_t /*bitrate*/) { }

constexpr std::array streamVideo {
    EncoderChoice { "vtenc_h264", "NV12", configureVideoToolbox },
    EncoderChoice { "openh264enc", "I420", configureOpenH264 },
};
constexpr std::array recordingVideo {
    EncoderChoice { "vp8enc", "I420", configureVp8, 0, setVp8Cheaper }
};
constexpr std::array streamAudio {
    EncoderChoice { "atenc", nullptr, configureAac },
    EncoderChoice { "voaacenc", nullptr, configureAac, 1600 },
};
constexpr std::array recordingAudio { EncoderChoice { "vorbisenc", nullptr, keepDefaults } };

using Choices = std::span<const EncoderChoice>;

} // namespace

std::span<const EncoderChoice> videoEncoders(bool isStream)
{
    return isStream ? Choices(streamVideo) : Choices(recordingVideo);
}

std::span<const EncoderChoice> audioEncoders(bool isStream)
{
    return isStream ? Choices(streamAudio) : Choices(recordingAudio);
}

const EncoderChoice &firstAvailable(std::span<const EncoderChoice> choices)
{
    for (const EncoderChoice &choice : choices) {
        if (GstElementFactory *factory = gst_element_factory_find(choice.factory)) {
            gst_object_unref(factory);
            return choice;
        }
    }
    return choices.back();
}

bool delaysPictures(GstElement *encoder)
{
    return gst_build::factoryName(encoder) == QLatin1String(streamVideo.front().factory);
}

} // namespace nimbara
