#pragma once

#include <gst/gst.h>

#include <atomic>
#include <memory>

namespace nimbara {

/// Sends one black picture into `source`, an app source with its caps set in a pipeline that plays,
/// and takes it out again in front of `encoder`. On its way the formats are agreed on and the
/// encoder makes itself ready, which lasts longer than the source's queue holds pictures.
///
/// The flag turns true, on a streaming thread, once the encoder is ready. Nothing else may be
/// pushed into the source before.
std::shared_ptr<const std::atomic<bool>> warmUp(GstElement *source, GstElement *encoder);

} // namespace nimbara
