#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <span>

namespace nimbara {

/// One way to encode: the element's factory, the raw video format it is fed (nothing for sound) and
/// its settings. `configure` gets the video bit rate in bit/s.
struct EncoderChoice {
    const char *factory = nullptr;
    const char *inputFormat = nullptr;
    void (*configure)(GObject *encoder, std::int32_t bitrate) = nullptr;
    std::uint64_t leadFrames = 0; ///< sound frames of its own that it puts in front and counts in
    /// Simpler coding for less work, or what `configure` set; none: there is nothing to spare.
    void (*setCheaper)(GObject *encoder, bool cheaper) = nullptr;
};

/// The encoders of a stream or a recording, best first: the platform's hardware encoder where there
/// is one, then the portable one. Never empty.
std::span<const EncoderChoice> videoEncoders(bool isStream);
std::span<const EncoderChoice> audioEncoders(bool isStream);

/// The first of `choices` that this GStreamer has; the last one when it has none of them, so that
/// the error names the portable encoder.
const EncoderChoice &firstAvailable(std::span<const EncoderChoice> choices);

/// `encoder` hands a picture out only when later ones came in, as the platform's hardware does.
bool delaysPictures(GstElement *encoder);

} // namespace nimbara
