#pragma once

#include <gst/gst.h>

namespace nimbara {

/// The desktop's media service (PipeWire). Its plug-in keeps one connection for all that reads
/// devices and for the list of them, which does not survive the service: what is opened over it
/// later hears and sees nothing. Where there is no such service, nothing here does anything. Any
/// thread; nothing waits.

/// From now on it is noticed when the service that is there ends. Call before devices are listed.
void watchMediaService();

/// The service has ended since, even if there is another one by now: the list of its devices stays
/// as it was.
[[nodiscard]] bool hasMediaServiceEnded();

/// Gives an element that `device` has made, if it reads from a service that has ended, a connection
/// of its own to the one that is there now, and the device's lasting name in place of its number.
/// Null is allowed.
void reconnectToService(GstElement *element, GstDevice *device);

} // namespace nimbara
