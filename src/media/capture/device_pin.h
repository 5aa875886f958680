#pragma once

#include <gst/gst.h>

namespace nimbara {

/// Keeps a capture element on its device: asks the sound or camera service not to hand the stream
/// another device when its own goes away, and makes it read copies of what arrives. Elements of
/// other services are left alone; null is allowed.
void pinToDevice(GstElement *element);

} // namespace nimbara
