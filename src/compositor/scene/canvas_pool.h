#pragma once

#include "signal/frame.h"

#include <QImage>

#include <vector>

namespace nimbara {

/// Canvases in opaque RGBA byte order (RGBX8888) that are used again once nobody else holds them,
/// so that a frame costs no fresh memory. Interface thread only.
class CanvasPool {
public:
    static constexpr std::size_t maxCanvases = 12;

    /// A canvas of the size that only the caller holds; its pixels are arbitrary. It can be written
    /// without a hidden copy as long as it is not copied.
    [[nodiscard]] QImage take(FrameSize size);

    /// Remembers a finished canvas. Whoever holds it may keep it: it is taken again only after the
    /// last holder has dropped it.
    void keep(const QImage &canvas);

private:
    std::vector<QImage> m_canvases;
};

} // namespace nimbara
