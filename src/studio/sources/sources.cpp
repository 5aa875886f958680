#include "studio/sources/sources.h"

#include "base/error.h"
#include "base/log.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t reopenSpacingUs = 3'000'000;
constexpr std::int64_t sweepSpacingUs = 2'000'000;

} // namespace

Sources::Sources(const Clock &clock,
    const MediaFactory &factory,
    std::function<FrameSize()> frame,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_status(status)
    , m_pool(
          clock,
          [&factory, frame = std::move(frame)](const Layer &layer) {
              return layer.kind == LayerKind::Screen ? factory.screen(frame())
                                                     : factory.heldMedia(frame(), layer.uri);
          },
          std::move(status))
    , m_shelf(clock)
{
}

LiveScene Sources::live(const ScenePtr &scene) const
{
    LiveScene live { scene, {} };
    live.layers.reserve(scene->layers.size());
    for (const Layer &layer : scene->layers) {
        live.layers.push_back({ m_shelf.find(layer), m_pool.find(layer) });
    }
    return live;
}

std::optional<FrameSize> Sources::contentSize(const Layer &layer) const
{
    FramePtr frame = layer.kind == LayerKind::Camera ? cameraFrame() : m_shelf.find(layer);
    if (const MediaPtr source = m_pool.find(layer)) {
        frame = source->frame();
    }
    return frame ? std::optional(frame->size()) : std::nullopt;
}

void Sources::follow(const SceneSets &scenes)
{
    m_pool.follow(scenes);
    m_shelf.follow(scenes);
}

void Sources::setBars(MediaPtr camera, std::int32_t index)
{
    m_camera = std::move(camera);
    m_cameraIndex = index;
    m_device.reset();
    m_firstFrameLogged = false;
}

void Sources::setCamera(MediaPtr camera, std::int32_t index, const CaptureDevice &device)
{
    setBars(std::move(camera), index);
    m_device = device;
}

FramePtr Sources::cameraFrame() const
{
    return m_camera ? m_camera->frame() : nullptr;
}

void Sources::poll(const Project &project, const OnAir &onAir)
{
    m_polled.clear();
    pollOnce(m_camera.get(), true);
    for (const LiveScene *program : { &onAir.streams, &onAir.hall }) {
        for (const LiveLayer &layer : program->layers) {
            pollOnce(layer.source.get(), true);
        }
    }
    for (const SceneSet set : bothSets) {
        for (const Layer &layer : project.scenes.of(set)[project.currentPlace(set)]->layers) {
            pollOnce(m_pool.find(layer).get(), true);
        }
    }
    m_pool.forEach([this](const MediaPtr &source) { pollOnce(source.get(), false); });
    m_shelf.poll();
    sweep(project.scenes);
}

void Sources::sweep(const SceneSets &scenes)
{
    const std::int64_t now = m_clock.monotonicUs();
    if (now - m_lastSweep > sweepSpacingUs) {
        m_lastSweep = now;
        m_pool.sweep(scenes);
        m_shelf.sweep(scenes);
    }
}

void Sources::pollOnce(Media *source, bool shown)
{
    if (source == nullptr
        || std::find(m_polled.begin(), m_polled.end(), source) != m_polled.end()) {
        return;
    }
    m_polled.push_back(source);
    source->setShown(shown);
    source->pollSource();
    if (const Message message = source->takeMessage(); !message.isEmpty()) {
        m_status(message);
    }
}

bool Sources::cameraLost() const
{
    return m_device && m_camera && !m_camera->active();
}

void Sources::reopenCamera(FrameSize size)
{
    if (const std::optional<DeviceLists> devices = m_search.poll()) {
        reopenFrom(*devices, size);
    }
    const std::int64_t now = m_clock.monotonicUs();
    if (cameraLost() && !m_search.running() && now - m_lastReopenAttempt > reopenSpacingUs) {
        m_lastReopenAttempt = now;
        m_search.start();
    }
}

void Sources::reopenFrom(const DeviceLists &devices, FrameSize size)
{
    if (!cameraLost()) {
        return;
    }
    try {
        const CaptureDevice *found = findAgain(devices.video, *m_device);
        if (found == nullptr) {
            throw Error(QStringLiteral("el dispositivo no está conectado"));
        }
        setCamera(m_factory.camera(size, found->device.get()), m_cameraIndex, *found);
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
