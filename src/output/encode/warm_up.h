#pragma once

#include <gst/gst.h>

#include <atomic>
#include <memory>

namespace nimbara {

/// Sends one black picture into `source`, an app source with its caps set in a pipeline that plays,
/// and takes it out again behind `encoder`. On its way the formats are agreed on and the encoder
/// touches all of its memory, which lasts longer than the source's queue holds pictures. The first
/// picture after it is a key frame. An encoder that delays pictures never sees the black one: it
/// might keep it for good.
///
/// The flag turns true, on a streaming thread, once the encoder is ready. Nothing else may be
/// pushed into the source before.
std::shared_ptr<const std::atomic<bool>>
warmUp(GstElement *source, GstElement *encoder, bool delaysPictures);

} // namespace nimbara
