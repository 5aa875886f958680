#include "compositor/scene/program_state.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace nimbara {

namespace {

/// `onto` = `over` at `weight` / 256 on `below`, byte by byte: both pictures are opaque.
void mix(std::uint8_t *onto,
    const std::uint8_t *below,
    const std::uint8_t *over,
    std::ptrdiff_t bytes,
    std::uint16_t weight)
{
    const auto rest = static_cast<std::uint16_t>(256 - weight);
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
        onto[i] = static_cast<std::uint8_t>(
            static_cast<std::uint16_t>(over[i] * weight + below[i] * rest + 128) >> 8);
    }
}

bool sameShape(const QImage &a, const QImage &b)
{
    return a.format() == b.format() && a.size() == b.size();
}

void paintOver(QImage &canvas, const QImage &picture, const QImage &over, double opacity)
{
    if (sameShape(canvas, picture) && sameShape(canvas, over)) {
        const auto weight = static_cast<std::uint16_t>(std::lround(opacity * 256));
        for (int y = 0; y < canvas.height(); ++y) {
            mix(canvas.scanLine(y),
                picture.constScanLine(y),
                over.constScanLine(y),
                std::ptrdiff_t { canvas.width() } * 4,
                weight);
        }
        return;
    }
    QPainter painter(&canvas);
    painter.drawImage(0, 0, picture);
    painter.setOpacity(opacity);
    painter.drawImage(0, 0, over);
}

} // namespace

void ProgramState::takeStreams(ScenePtr scene,
    QString title,
    bool band,
    const QImage &onAir,
    std::int64_t nowUs)
{
    m_streams = std::move(scene);
    m_title = std::move(title);
    m_band = band;
    startFade(onAir, nowUs);
}

void ProgramState::offAirStreams(const QImage &onAir, std::int64_t nowUs)
{
    takeStreams({}, {}, false, onAir, nowUs);
}

void ProgramState::takeHall(ScenePtr scene)
{
    m_hall = std::move(scene);
}

void ProgramState::offAirHall()
{
    m_hall = {};
}

void ProgramState::clear()
{
    clearStreams();
    m_hall = {};
}

void ProgramState::clearStreams()
{
    m_streams = {};
    m_title.clear();
    m_band = false;
    m_fadeProgress = 1;
    m_fadePicture = {};
}

void ProgramState::startFade(const QImage &onAir, std::int64_t nowUs)
{
    m_fadeStart = nowUs;
    m_fadeProgress = m_fadeEnabled ? 0 : 1;
    m_fadePicture = m_fadeEnabled ? onAir : QImage();
}

QImage ProgramState::fade(const QImage &picture, std::int64_t nowUs)
{
    if (m_fadeProgress < 1) {
        const double elapsed = static_cast<double>(nowUs - m_fadeStart) / fadeUs;
        m_fadeProgress = std::clamp(elapsed, 0.0, 1.0);
    }
    if (m_fadeProgress >= 1 || m_fadePicture.isNull()) {
        m_fadePicture = {};
        return picture;
    }
    QImage canvas = m_canvases.take({ picture.width(), picture.height() });
    paintOver(canvas, picture, m_fadePicture, 1 - m_fadeProgress);
    m_canvases.keep(canvas);
    return canvas;
}

} // namespace nimbara
