#pragma once

#include "media/gst/gst_handles.h"

#include <atomic>
#include <memory>

namespace nimbara {

/// Brings an "rtmp2sink" to where it may be stopped: nothing more is sent, and a connection that is
/// being opened gets the server's answer first, or a failure, or a few seconds.
///
/// The sink loses track of a connection that it is told to stop while the server's answer is still
/// under way: the socket then stays open until the process ends, and the server may go on holding
/// the stream's name, so that the next start under the same key is refused.
class StreamEnd {
public:
    /// None: a recording, which has nothing to end.
    StreamEnd() = default;
    /// `sink` has not been started yet. It opens its connection for the first data.
    explicit StreamEnd(GstElement *sink);

    /// Every error that the owner reads off the bus before `end`: after one of the sink's own there
    /// is nothing to wait for.
    void note(GstMessage *error);

    /// The server lets the sink publish.
    [[nodiscard]] bool isConnected() const;

    /// May wait, so it belongs on a background task. `bus`: of the sink's pipeline; errors are read
    /// off it.
    void end(GstBus *bus) const;

private:
    bool m_hasFailed = false;
    ElementRef m_sink;
    std::shared_ptr<const std::atomic<bool>> m_connects; ///< data has reached the sink
};

} // namespace nimbara
