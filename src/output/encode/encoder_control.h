#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/encoders.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace nimbara {

/// Changes an encoder's settings while it runs. The encoder holds a lock while it encodes, so its
/// own thread does it, before the next picture.
class EncoderControl {
public:
    EncoderControl() = default;
    /// `source` feeds `encoder` on its thread, which was made by `choice` and configured for
    /// `bitrate` (bit/s).
    EncoderControl(GstElement *source,
        GstElement *encoder,
        const EncoderChoice &choice,
        std::int32_t bitrate);

    /// Simpler coding for less work, where the encoder has it to spare.
    void setCheaper(bool cheaper) const;
    /// In bit/s, where the encoder can change it.
    void setBitrate(std::int32_t bitrate) const;

private:
    struct Wanted {
        std::atomic<bool> isCheaper = false;
        std::atomic<std::int32_t> bitrate = 0;
    };
    struct Switch;
    std::shared_ptr<Wanted> m_wanted;
};

} // namespace nimbara
