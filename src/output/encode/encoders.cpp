#include "output/encode/encoders.h"

#include <algorithm>
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

/// Versions and drivers differ in what they have.
bool has(GObject *object, const char *property)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(object), property) != nullptr;
}

void setKbits(GObject *encoder, std::int32_t bitrate)
{
    if (has(encoder, "bitrate")) {
        g_object_set(encoder, "bitrate", static_cast<guint>(bitrate / 1000), nullptr);
    }
}

/// VA-API: a steady rate, and no picture waits for a later one.
void configureVa(GObject *encoder, std::int32_t bitrate)
{
    if (has(encoder, "rate-control")) {
        gst_util_set_object_arg(encoder, "rate-control", "cbr");
    }
    if (has(encoder, "key-int-max")) {
        g_object_set(encoder, "key-int-max", static_cast<guint>(keyFrameSpacing), nullptr);
    }
    if (has(encoder, "b-frames")) {
        g_object_set(encoder, "b-frames", 0U, nullptr);
    }
    setKbits(encoder, bitrate);
}

void setOpenH264Bitrate(GObject *encoder, std::int32_t bitrate)
{
    g_object_set(encoder, "bitrate", static_cast<guint>(bitrate), nullptr);
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

constexpr EncoderChoice vaEncoder(const char *factory)
{
    return { .factory = factory,
        .inputFormat = "NV12",
        .configure = configureVa,
        .setBitrate = setKbits,
        .delaysPictures = true,
        .needsTrial = true };
}

constexpr std::array streamVideo {
    EncoderChoice { .factory = "vtenc_h264",
        .inputFormat = "NV12",
        .configure = configureVideoToolbox,
        .setBitrate = setKbits,
        .delaysPictures = true },
    vaEncoder("vah264enc"),
    vaEncoder("vah264lpenc"),
    EncoderChoice { .factory = "openh264enc",
        .inputFormat = "I420",
        .configure = configureOpenH264,
        .setBitrate = setOpenH264Bitrate },
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

bool isAvailable(const EncoderChoice &choice)
{
    GstElementFactory *factory = gst_element_factory_find(choice.factory);
    if (factory != nullptr) {
        gst_object_unref(factory);
    }
    return factory != nullptr;
}

const EncoderChoice &firstAvailable(std::span<const EncoderChoice> choices)
{
    const auto found = std::find_if(choices.begin(), choices.end(), [](const auto &choice) {
        return !choice.needsTrial && isAvailable(choice);
    });
    return found == choices.end() ? choices.back() : *found;
}

} // namespace nimbara
