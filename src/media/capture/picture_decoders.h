#pragma once

#include "media/capture/device_mode.h"

namespace nimbara {

/// Whether this installation can decode such pictures.
bool canDecode(PictureCoding coding);

/// The elements that make raw pictures of a device's coded ones, in the order of their linking;
/// none for raw pictures. A coded picture that is damaged is lost alone. Of JPEGs that come while
/// one before is still being decoded two wait, and the oldest is dropped: a weak computer shows
/// fewer pictures, not older ones.
std::vector<ElementRef> makeDecoders(PictureCoding coding);

} // namespace nimbara
