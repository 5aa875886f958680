#pragma once

#include "media/gst/gst_handles.h"

namespace nimbara {

/// What an error message of a bus tells; either may be none.
struct BusError {
    GErrorPtr error;
    GCharPtr debug;
};

/// `message` is one of GST_MESSAGE_ERROR.
inline BusError busError(GstMessage *message)
{
    GError *error = nullptr;
    gchar *debug = nullptr;
    gst_message_parse_error(message, &error, &debug);
    return { GErrorPtr(error), GCharPtr(debug) };
}

} // namespace nimbara
