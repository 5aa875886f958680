#pragma once

#include "document/transition.h"
#include "signal/frame.h"

#include <QImage>

namespace nimbara {

/// Paints onto `canvas` what stands between two pictures at `progress`: 0 is all `from`, 1 all
/// `to`. All three are of one size and in opaque RGBA byte order (RGBX8888), and nobody else holds
/// the canvas. Allocates nothing.
void paintTransition(QImage &canvas,
    const QImage &from,
    const QImage &to,
    TransitionKind kind,
    double progress);

/// Paints onto `canvas` a clip's picture over another one: the picture as large as covers the
/// canvas, its middle, straight alpha. One that has that size already is painted fast, and
/// allocates nothing. `below` and the canvas are as above.
void paintClip(QImage &canvas, const QImage &below, const Frame &picture);

} // namespace nimbara
