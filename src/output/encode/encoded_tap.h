#pragma once

#include "media/gst/gst_handles.h"

#include <cstdint>

namespace nimbara {

enum class Track { Picture, Sound };

/// A piece of an encoded track.
struct EncodedUnit {
    BufferRef buffer; ///< shared with other taps: never written to
    CapsRef caps; ///< of the track, with its headers
    std::uint64_t time = 0; ///< ns on the encoder's time line; that at which the receiver shows it
    std::uint64_t lead = 0; ///< ns that `time` lies behind the time at which it was pushed
    bool isKey = true; ///< can be decoded without what came before
};

/// Takes what an encoder makes. Called on the encoder's threads, one for each track; must not wait.
class EncodedTap {
public:
    EncodedTap() = default;
    EncodedTap(const EncodedTap &) = delete;
    EncodedTap &operator=(const EncodedTap &) = delete;
    EncodedTap(EncodedTap &&) = delete;
    EncodedTap &operator=(EncodedTap &&) = delete;
    virtual ~EncodedTap() = default;

    virtual void take(Track track, const EncodedUnit &unit) = 0;
    /// The track is over.
    virtual void end(Track track) = 0;
};

} // namespace nimbara
