#include "output/encode/encoder_pipeline.h"

#include "base/error.h"
#include "media/gst/gst_build.h"
#include "output/encode/encoders.h"
#include "output/encode/picture_converter.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/sound_probe.h"
#include "signal/audio_block.h"

#include <gst/app/gstappsrc.h>

namespace nimbara {

namespace {

constexpr std::int32_t maxSide = 4096;
constexpr std::int32_t minBitrate = 500'000;
constexpr std::int32_t maxBitrate = 20'000'000;

/// What waits for an encoder. Sound is small, and what was let go of it is heard.
struct Patience {
    guint64 buffers; ///< at most; a tick gives one
    guint64 ns;
};
constexpr Patience picturePatience { 5, 500'000'000 };
constexpr Patience soundPatience { 120, 4'000'000'000 };

/// When the input is full the oldest data goes: pushing never waits.
GstElement *
makeLeakyInput(const PipelineParts &parts, const char *name, const CapsRef &caps, Patience patience)
{
    GstElement *source = parts.makeInput(name);
    g_object_set(source,
        "caps",
        caps.get(),
        "max-buffers",
        patience.buffers,
        "max-time",
        patience.ns,
        "leaky-type",
        GST_APP_LEAKY_TYPE_DOWNSTREAM,
        nullptr);
    return source;
}

/// Pictures in the encoder's format that may wait for it: when the machine is short of breath for a
/// second, none is lost. In front of it, in four times the room, wait a few more.
constexpr guint breath = 30;

/// Hands on what comes as soon as it comes.
GstElement *makeEnd(const PipelineParts &parts)
{
    GstElement *sink = parts.make("appsink");
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    return sink;
}

/// What an encoder is fed, with the colours that go with the size.
CapsRef pictureCaps(const EncoderProfile &profile, GstVideoFormat format)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info,
        format,
        static_cast<guint>(profile.width),
        static_cast<guint>(profile.height));
    GST_VIDEO_INFO_FPS_N(&info) = 30;
    GST_VIDEO_INFO_FPS_D(&info) = 1;
    return CapsRef::adopt(gst_video_info_to_caps(&info));
}

} // namespace

void checkProfile(const EncoderProfile &profile)
{
    const auto valid = [](std::int32_t side) { return side >= 1 && side <= maxSide; };
    if (!valid(profile.width) || !valid(profile.height) || profile.bitrate < minBitrate
        || profile.bitrate > maxBitrate) {
        throw Error(QStringLiteral("Perfil de salida invalido"));
    }
}

PictureEncoding buildPictureEncoding(const EncoderProfile &profile,
    const EncoderChoice &choice,
    const std::shared_ptr<PictureConverter> &converter)
{
    PipelineParts parts("nimbara-encoder");
    const bool isH264 = profile.codecs == Codecs::H264Aac;
    const GstVideoFormat format = gst_video_format_from_string(choice.inputFormat);
    GstElement *source
        = makeLeakyInput(parts, "pictures", pictureCaps(profile, format), picturePatience);
    convertFrames(source, format, converter);
    GstElement *waiting = parts.makeQueue(breath, isH264 ? "h264" : "vp8");
    GstElement *encoder = parts.make(choice.factory);
    choice.configure(G_OBJECT(encoder), profile.bitrate);
    GstElement *end = makeEnd(parts);
    PipelineParts::link({ source, waiting, encoder });
    if (isH264) {
        GstElement *parse = parts.make("h264parse");
        g_object_set(parse, "config-interval", -1, nullptr); // each key frame has its headers
        GstElement *units
            = parts.makeFilter(QStringLiteral("video/x-h264, stream-format=avc, alignment=au"));
        PipelineParts::link({ encoder, parse, units, end });
    } else {
        PipelineParts::link({ encoder, end });
    }
    return { ElementRef::retain(source),
        ElementRef::retain(encoder),
        ElementRef::retain(end),
        EncoderControl(waiting, encoder, choice, profile.bitrate),
        parts.take() };
}

SoundEncoding buildSoundEncoding(const EncoderProfile &profile)
{
    PipelineParts parts("nimbara-encoder");
    const bool isAac = profile.codecs == Codecs::H264Aac;
    GstElement *source = makeLeakyInput(parts,
        isAac ? "aac" : "vorbis",
        gst_build::audioBlockCaps(),
        soundPatience);
    keepSoundWhole(source);
    const EncoderChoice &choice = firstAvailable(audioEncoders(isAac));
    GstElement *convert = parts.make("audioconvert");
    GstElement *resample = parts.make("audioresample");
    GstElement *encoder = parts.make(choice.factory);
    choice.configure(G_OBJECT(encoder), profile.bitrate);
    GstElement *end = makeEnd(parts);
    PipelineParts::link({ source, convert, resample, encoder });
    if (isAac) {
        PipelineParts::link({ encoder, parts.make("aacparse"), end });
    } else {
        PipelineParts::link({ encoder, end });
    }
    return { ElementRef::retain(source),
        ElementRef::retain(end),
        gst_util_uint64_scale(choice.leadFrames, GST_SECOND, audioRate),
        parts.take() };
}

} // namespace nimbara
