#pragma once

#include <functional>

class QObject;

namespace nimbara {

/// Calls back on `context`'s thread, never inside the call, once it is known whether the session
/// bus can be reached; not at all when `context` is gone by then. Where the platform's key store
/// needs no bus the answer is yes.
///
/// GLib ends the process when its connection to the session bus closes, as it would for a program
/// of the desktop. A service must outlive its desktop's bus, so this is turned off before anything
/// else uses the connection.
void withSessionBus(QObject *context, std::function<void(bool reachable)> done);

} // namespace nimbara
