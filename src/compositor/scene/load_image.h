#pragma once

#include "signal/frame.h"

#include <QImage>
#include <QString>

namespace nimbara {

/// Decodes a picture file by its content, upright as its orientation tag says.
///
/// The size is checked before any pixel is decoded, so that a small file cannot claim the memory of
/// a huge picture. Throws `Error` "Imagen inválida o demasiado grande" when the file cannot be
/// decoded, is no regular file, or is wider or higher than 8192 pixels. Any thread.
FramePtr loadImage(const QString &path);

/// A frame with the image's pixels, in straight-alpha RGBA. An image without an alpha channel makes
/// an opaque frame. Throws `Error` "Invalid frame dimensions" outside 1..8192 in a direction.
FramePtr toFrame(const QImage &image);

} // namespace nimbara
