#pragma once

#include "base/message.h"

#include <gst/gst.h>

namespace nimbara {

/// The operator's text of an output that failed with a code of GStreamer's resource errors.
Message failureText(int code);

/// That of an error on a bus. The code alone: messages and their debug texts may hold the location.
Message failureText(GstMessage *message);

} // namespace nimbara
