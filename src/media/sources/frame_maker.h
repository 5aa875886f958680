#pragma once

#include "media/gst/gst_handles.h"
#include "media/sources/natural_picture.h"

#include <memory>

namespace nimbara {

/// An element that hands raw pictures on as they come, except for those that need no scaling where
/// `picture` is shown and that `convertToRgba` knows: these leave it as RGBA in buffers that hold a
/// whole `Frame`, made on the streaming thread. It changes from one to the other as the boxes do.
ElementRef makeFrameMaker(const std::shared_ptr<NaturalPicture> &picture);

/// The frame that the buffer holds, which is its picture, without a copy; none if it holds none.
FramePtr frameIn(GstBuffer *buffer);

} // namespace nimbara
