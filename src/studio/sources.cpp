#include "studio/sources.h"

#include "app/error.h"
#include "app/i18n.h"
#include "app/log.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t reopenSpacingUs = 3'000'000;

} // namespace

Sources::Sources(const Clock &clock, const MediaFactory &factory, Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_status(std::move(status))
{
}

void Sources::setCamera(MediaPtr camera, std::int32_t index)
{
    m_camera = std::move(camera);
    m_cameraIndex = index;
    m_firstFrameLogged = false;
}

FramePtr Sources::cameraFrame() const
{
    return m_camera ? m_camera->frame() : nullptr;
}

void Sources::setVideoDevices(std::vector<DeviceRef> devices)
{
    m_videoDevices = std::move(devices);
}

void Sources::poll(const Stage &stage)
{
    m_polled.clear();
    pollOnce(m_camera.get());
    for (const SceneSet set : { SceneSet::Streams, SceneSet::Hall }) {
        for (const Scene &scene : stage.scenes.scenes(set)) {
            pollLayers(scene.layers);
        }
    }
    pollLayers(stage.program.streams().layers);
    pollLayers(stage.program.hall().layers);
}

void Sources::pollLayers(const std::vector<Layer> &layers)
{
    for (const Layer &layer : layers) {
        pollOnce(layer.source.get());
    }
}

void Sources::pollOnce(Media *source)
{
    if (source == nullptr
        || std::find(m_polled.begin(), m_polled.end(), source) != m_polled.end()) {
        return;
    }
    m_polled.push_back(source);
    source->pollSource();
    if (const QString message = source->takeMessage(); !message.isEmpty()) {
        m_status(nimbara_i18n::tr(message));
    }
}

void Sources::reopenCamera(FrameSize size)
{
    const bool lost = m_camera && m_camera->isDevice() && !m_camera->active() && m_cameraIndex >= 0
        && m_cameraIndex < static_cast<std::int32_t>(m_videoDevices.size());
    if (!lost || m_clock.monotonicUs() - m_lastReopenAttempt <= reopenSpacingUs) {
        return;
    }
    m_lastReopenAttempt = m_clock.monotonicUs();
    const DeviceRef &device = m_videoDevices[static_cast<std::size_t>(m_cameraIndex)];
    try {
        setCamera(m_factory.camera(size, device.get()), m_cameraIndex);
        logLine(QStringLiteral("Cámara reabierta: ") + m_camera->label());
    } catch (const Error &error) {
        logLine(QStringLiteral("Cámara: no se pudo reabrir: ") + error.text());
    }
}

void Sources::logFirstFrame()
{
    if (m_firstFrameLogged || !m_camera || m_camera->frameCount() < 1) {
        return;
    }
    m_firstFrameLogged = true;
    const FramePtr &frame = m_camera->frame();
    const FrameSize size = frame ? frame->size() : FrameSize {};
    logLine(QStringLiteral("Cámara: primer cuadro recibido. ") + m_camera->label()
        + QStringLiteral(" latest=%1x%2").arg(size.width).arg(size.height));
}

} // namespace nimbara
