#pragma once

#include "media/gst/gst_handles.h"
#include "media/sources/source_login.h"

#include <QString>

#include <cstdint>

namespace nimbara {

/// How a source on the network is opened.
struct NetworkAccess {
    static constexpr std::int32_t usualLatencyMs = 200;

    std::int32_t latencyMs = usualLatencyMs; ///< that pictures of a live camera wait for late ones
    Login login {};
};

/// A camera that delivers as things happen: RTSP or SRT.
bool isLiveCamera(const QString &location);

/// Makes a URI decoder open its source so: RTSP over TCP, one connection through every router,
/// whose packets wait no longer than the latency; SRT with that latency and no reconnection of its
/// own, after which the picture's clock would be another one. The login goes to any source that
/// takes one.
void prepareNetworkSource(const ElementRef &decoder, NetworkAccess access);

/// The error is a refusal that another login may mend.
bool asksForLogin(GstMessage *error);

} // namespace nimbara
