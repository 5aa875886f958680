#pragma once

#include <QString>

namespace nimbara {

/// Whether the host of a server's URL takes a connection, which is closed at once; its name is
/// resolved anew. Takes the road that the sink of a stream takes. Waits, two seconds for each
/// address at most and as long as the name takes: for a background task.
bool isReachable(const QString &server);

} // namespace nimbara
