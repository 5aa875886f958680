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
    /// Another bit rate while it runs; none: it keeps its own.
    void (*setBitrate)(GObject *encoder, std::int32_t bitrate) = nullptr;
    bool delaysPictures = false; ///< it may hand one out only when later ones came in
    bool needsTrial = false; ///< its drivers differ: used only where it has passed one
};

/// The encoders of a stream or a recording, best first: the platform's hardware encoders where
/// there are some, then the portable one. Never empty.
std::span<const EncoderChoice> videoEncoders(bool isStream);
std::span<const EncoderChoice> audioEncoders(bool isStream);

/// This GStreamer has it.
bool isAvailable(const EncoderChoice &choice);

/// The first of `choices` that is available and needs no trial; the last one when none is, so that
/// the error names the portable encoder.
const EncoderChoice &firstAvailable(std::span<const EncoderChoice> choices);

} // namespace nimbara
