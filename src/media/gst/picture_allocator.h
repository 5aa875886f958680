#pragma once

namespace nimbara {

/// GStreamer's buffers of a picture's size come from the process' PictureMemory too, whatever
/// element asks for them; smaller ones, and those that want an alignment wider than a page, from
/// the heap as before. Call it once, after gst_init() and `startPictureMemory`; does nothing
/// without that.
void useMemoryForPictures();

} // namespace nimbara
