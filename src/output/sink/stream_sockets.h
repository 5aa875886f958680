#pragma once

#include <QString>

/// The sockets of "rtmp2sink". It loses track of a connection whose stream the server refuses,
/// because the name is in use, say: the socket would stay open until the process ends, and the
/// server would go on holding its session. Any thread.
namespace nimbara::stream_sockets {

/// From now on each connection to the host of `location`, an RTMP or RTMPS URL, is known, once a
/// sink opens it.
void watch(const QString &location);

/// Closes those whose sink has ended. Call when one has.
void closeAbandoned();

} // namespace nimbara::stream_sockets
