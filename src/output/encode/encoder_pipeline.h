#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/effort_switch.h"
#include "output/encode/picture_converter.h"

#include <cstdint>
#include <memory>

namespace nimbara {

/// What the encoded picture and sound are made for.
enum class Codecs {
    H264Aac, ///< streams and MKV
    Vp8Vorbis, ///< WebM
};

/// What an encoder is built for. Encoders of the same profile make the same.
struct EncoderProfile {
    std::int32_t width = 0; ///< of every frame to come, 1..4096
    std::int32_t height = 0;
    Codecs codecs = Codecs::H264Aac;
    std::int32_t bitrate = 0; ///< video, 500,000..20,000,000 bit/s
    bool operator==(const EncoderProfile &) const = default;
};

/// Throws `Error` with the operator's text for a size or bit rate out of range.
void checkProfile(const EncoderProfile &profile);

/// A pipeline that is not started yet, with its two inputs and its two ends.
struct EncoderPipeline {
    ElementRef videoSrc; ///< takes what `frameBuffer` makes
    ElementRef audioSrc; ///< takes `AudioBlock`s
    ElementRef videoEncoder;
    EffortSwitch effort; ///< of the video encoder
    ElementRef videoSink;
    ElementRef audioSink;
    std::uint64_t soundLead = 0; ///< ns of the encoder's own in front of the sound, counted in
    Pipeline pipeline;
};

/// Builds the pipeline "nimbara-encoder". Throws `Error` with the operator's text: a size or bit
/// rate out of range, a component that is missing, links that fail.
EncoderPipeline buildEncoderPipeline(const EncoderProfile &profile,
    const std::shared_ptr<PictureConverter> &converter);

} // namespace nimbara
