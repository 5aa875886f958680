#pragma once

#include "signal/frame.h"

#include <QColor>
#include <QImage>
#include <QtEndian>

/// Painting RGBA bytes at full speed.
///
/// The toolkit's painter is three to ten times faster on its native 32-bit formats than on RGBA
/// byte order, and most of its work treats red, green and blue alike. So the compositor shows it
/// RGBA bytes as a native picture, in which red and blue look exchanged, and exchanges them in the
/// few colours that it names. Only glyphs that bring their own colours must not be painted so.
namespace nimbara {

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "RGBA bytes are native pixels the other way round");

/// A view of the frame as a native picture, without a copy: valid while `frame` lives.
inline QImage nativeView(const Frame &frame)
{
    return { frame.pixels.data(),
        frame.width,
        frame.height,
        frame.stride(),
        frame.opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32 };
}

/// The colour that paints `color` onto a native view.
inline QColor nativeColor(const QColor &color)
{
    return { color.blue(), color.green(), color.red(), color.alpha() };
}

/// A canvas in opaque RGBA byte order that is painted through its native view between two calls.
/// Nobody else may hold it.
inline void toNative(QImage &canvas)
{
    canvas.reinterpretAsFormat(QImage::Format_RGB32);
}
inline void fromNative(QImage &canvas)
{
    canvas.reinterpretAsFormat(QImage::Format_RGBX8888);
}

} // namespace nimbara
