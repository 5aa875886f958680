#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/encoders.h"

#include <atomic>
#include <memory>

namespace nimbara {

/// Turns an encoder's cheaper settings on and off while it runs. The encoder holds a lock while it
/// encodes, so its own thread does it, before the next picture.
class EffortSwitch {
public:
    EffortSwitch() = default;
    /// `source` feeds `encoder` on its thread, which was made by `choice`.
    EffortSwitch(GstElement *source, GstElement *encoder, const EncoderChoice &choice);

    void setCheaper(bool cheaper) const;

private:
    std::shared_ptr<std::atomic<bool>> m_wanted;
};

} // namespace nimbara
