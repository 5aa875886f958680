#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/encoder_control.h"
#include "output/encode/picture_converter.h"

#include <cstdint>
#include <memory>

namespace nimbara {

constexpr std::uint64_t frameDuration = 33'333'333; ///< ns

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

/// The way of the pictures, not started yet, with its input and its end.
struct PictureEncoding {
    ElementRef source; ///< takes what `frameBuffer` makes
    ElementRef encoder;
    ElementRef sink;
    EncoderControl control; ///< of the encoder
    Pipeline pipeline;
};

/// That of the sound.
struct SoundEncoding {
    ElementRef source; ///< takes `AudioBlock`s
    ElementRef sink;
    std::uint64_t lead = 0; ///< ns of the encoder's own in front of the sound, counted in
    Pipeline pipeline;
};

/// Both build a pipeline "nimbara-encoder" for a checked profile. They throw `Error` with the
/// operator's text: a component that is missing, links that fail. `choice`: one of `videoEncoders`
/// for the profile's codecs.
PictureEncoding buildPictureEncoding(const EncoderProfile &profile,
    const EncoderChoice &choice,
    const std::shared_ptr<PictureConverter> &converter);
SoundEncoding buildSoundEncoding(const EncoderProfile &profile);

} // namespace nimbara
