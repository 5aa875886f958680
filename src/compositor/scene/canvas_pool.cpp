#include "compositor/scene/canvas_pool.h"

#include <algorithm>
#include <utility>

namespace nimbara {

QImage CanvasPool::take(FrameSize size)
{
    const QSize wanted(size.width, size.height);
    const auto free = std::find_if(m_canvases.begin(), m_canvases.end(), [&](const QImage &canvas) {
        return canvas.isDetached() && canvas.size() == wanted;
    });
    if (free == m_canvases.end()) {
        return { wanted, QImage::Format_RGBX8888 };
    }
    QImage canvas = std::move(*free);
    m_canvases.erase(free);
    return canvas;
}

void CanvasPool::keep(const QImage &canvas)
{
    if (m_canvases.size() >= maxCanvases) {
        m_canvases.erase(m_canvases.begin());
    }
    m_canvases.push_back(canvas);
}

} // namespace nimbara
