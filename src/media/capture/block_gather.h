#pragma once

#include "media/gst/gst_handles.h"
#include "signal/audio_block.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace nimbara {

/// Lets the sound of a capture wait for a reader that is late. A sink holds a few buffers, which of
/// some devices are twenty milliseconds in all: what comes while it is full is kept here and
/// follows as one buffer once there is room. The sink gets copies, so that a device has its own
/// buffers back at once. Of more than a second the oldest is lost.
class BlockGather {
public:
    /// What is kept, in bytes of the capture's format: as much as the queue behind it holds.
    static constexpr std::size_t longest = AudioFifo::defaultLimit * sizeof(float);

    /// At the input of a sink that holds `most` buffers; goes with whichever of the two lives
    /// longer.
    static std::shared_ptr<BlockGather> atInputOf(const ElementRef &sink, int most);

    /// A buffer has left the sink. On the reader's thread; the rest is done on the pipeline's.
    void taken() { --m_waiting; }

private:
    explicit BlockGather(int most)
        : m_most(most)
    {
    }
    static GstPadProbeReturn meet(GstPad *pad, GstPadProbeInfo *info, gpointer held);
    bool keep(GstBuffer *buffer);
    [[nodiscard]] BufferRef takeKept();

    const int m_most;
    std::atomic<int> m_waiting { 0 }; ///< in the sink
    std::vector<guint8> m_kept;
    GstClockTime m_keptPts = GST_CLOCK_TIME_NONE; ///< of its first byte
};

} // namespace nimbara
