#include "studio/sources/sources.h"

#include "base/error.h"
#include "base/log.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t sweepSpacingUs = 2'000'000;

/// Adds the devices that camera layers of the scene name.
void addNamed(std::vector<QString> &named, const ScenePtr &scene)
{
    if (!scene) {
        return;
    }
    for (const Layer &layer : scene->layers) {
        const bool isNamed = layer.kind == LayerKind::Camera && !layer.uri.isEmpty();
        if (isNamed && std::find(named.begin(), named.end(), layer.uri) == named.end()) {
            named.push_back(layer.uri);
        }
    }
}

} // namespace

Sources::Sources(const Clock &clock,
    const MediaFactory &factory,
    SecretStore &secrets,
    QSettings &settings,
    std::function<FrameSize()> frame,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_frame(std::move(frame))
    , m_status(status)
    , m_return(clock, status)
    , m_openings(clock, factory, m_frame, m_steady, m_modes, status)
    , m_layerCameras(
          clock,
          m_openings,
          [this](const CaptureDevice &device) { return hasDevice(device); },
          status)
    , m_logins(m_factory.logins(), secrets)
    , m_screen(settings, m_factory.grantedScreen(), m_factory.needsGrant())
    , m_pool(
          clock,
          [this](const Layer &layer) { return openSource(m_factory, m_frame(), layer); },
          status)
    , m_sourceReturn(
          clock,
          [this](const Layer &layer) { return mayOpen(layer); },
          std::move(status))
    , m_shelf(clock)
{
    QObject::connect(&m_sourceReturn,
        &SourceReturn::refused,
        &m_sourceReturn,
        [this](const Media &source) { tellRefusal(source); });
}

bool Sources::mayOpen(const Layer &layer)
{
    return layer.kind == LayerKind::Screen ? m_screen.mayOpen() : m_logins.mayOpen(layer.uri);
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
    const MediaPtr source = layer.kind == LayerKind::Camera ? cameraOf(layer) : m_pool.find(layer);
    if (source) {
        return source->naturalSize();
    }
    const FramePtr still = m_shelf.find(layer);
    return still ? std::optional(still->size()) : std::nullopt;
}

void Sources::follow(const SceneSets &scenes)
{
    m_pool.follow(scenes);
    m_shelf.follow(scenes);
}

void Sources::setBars(MediaPtr camera, std::int32_t index)
{
    m_refused = m_refused || cameraOpening() == Opening::Underway;
    takeOffer();
    install(std::move(camera), { nullptr, index, std::nullopt, std::nullopt });
}

void Sources::install(MediaPtr camera, const Offer &from)
{
    if (m_camera && m_device && !m_layerCameras.takeOver(*m_device, m_chosenMode, m_camera)) {
        letGo(m_camera);
    }
    m_camera = std::move(camera);
    m_cameraIndex = from.index;
    m_device = from.device;
    m_chosenMode = from.chosen;
    m_mayDoBetter = from.opening
        && (from.opening->mayDoBetter() || (m_device && m_openings.hasHalting(*m_device)));
    m_cameraSinceUs = m_clock.monotonicUs();
    m_firstFrameLogged = false;
}

std::unique_ptr<CameraOpening> Sources::open(const CaptureDevice &device,
    const std::optional<DeviceMode> &first)
{
    m_leaving.note(device, m_layerCameras.release(device));
    return m_openings.begin(device, first, m_leaving.holders(device));
}

std::unique_ptr<CameraOpening> Sources::openBars() const
{
    const auto bars
        = [this, size = m_frame()](const auto & /*any*/) { return m_factory.testBars(size); };
    return std::make_unique<CameraOpening>(m_clock, bars, std::vector<DeviceMode> {});
}

/// The present camera's device is let go of.
void Sources::letGo(const MediaPtr &camera)
{
    if (camera && m_device) {
        m_leaving.note(*m_device, { camera->presence() });
    }
}

/// Nothing is offered from now on; what was may hold its device for a while.
Sources::Offer Sources::takeOffer()
{
    if (m_offer.opening && m_offer.device) {
        m_leaving.note(*m_offer.device, m_offer.opening->holders());
    }
    return std::exchange(m_offer, {});
}

void Sources::offerCamera(std::int32_t index,
    const std::optional<CaptureDevice> &device,
    const std::optional<DeviceMode> &chosen)
{
    if (device) {
        m_openings.forgetHalts(*device);
        if (MediaPtr open = m_layerCameras.handOver(*device, chosen)) {
            m_refused = false;
            takeOffer();
            install(std::move(open), { nullptr, index, device, chosen });
            return;
        }
    }
    if (device && m_device && isSame(*device, *m_device)) {
        letGo(std::exchange(m_camera, nullptr));
    }
    takeOffer();
    auto opening = device ? open(*device, chosen) : openBars();
    if (opening->camera()) {
        logLine(QStringLiteral("Cámara creada: ") + opening->camera()->label());
    }
    m_refused = false;
    m_offer = { std::move(opening), index, device, chosen };
}

void Sources::withdrawCamera()
{
    m_refused = false;
    takeOffer();
}

Opening Sources::cameraOpening() const
{
    if (m_offer.opening && !m_offer.returning) {
        return Opening::Underway;
    }
    return m_refused ? Opening::Refused : Opening::Done;
}

void Sources::pollOffer()
{
    if (!m_offer.opening) {
        return;
    }
    const CameraOpening::State state = m_offer.opening->poll();
    if (state == CameraOpening::State::Failed) {
        refuseOffer();
    } else if (state == CameraOpening::State::Delivers) {
        const Offer accepted = std::exchange(m_offer, {});
        const MediaPtr camera = accepted.opening->camera();
        if (accepted.device) {
            m_openings.note(*accepted.device, *accepted.opening);
        }
        if (accepted.returning) {
            logLine(QStringLiteral("Cámara reabierta: ") + camera->label());
        }
        install(camera, accepted);
    }
}

void Sources::refuseOffer()
{
    const Offer refused = takeOffer();
    const Message &reason = refused.opening->reason();
    if (refused.returning) {
        logLine(QStringLiteral("Cámara: no se pudo reabrir: ") + reason.spanish());
        return;
    }
    m_refused = true;
    const Message name
        = refused.device ? Message::verbatim(refused.device->name) : Message("Barras de prueba");
    const Message rest = m_camera ? Message("Continúa la cámara que había. ") : Message();
    m_status(Message("No llega imagen de %1. ", { name }) + rest
        + (refused.opening->starved() ? Message() : reason));
}

/// A lost camera lets go of its device at once, so that it can be opened again.
void Sources::pollCamera()
{
    if (m_camera) {
        m_camera->setPictureDelay(m_cameraDelayUs);
    }
    pollOnce(m_camera.get(), true);
    if (m_device && m_camera && !m_camera->active()) {
        if (m_camera->starved()) {
            m_openings.noteHalt(*m_device, *m_camera, m_cameraSinceUs);
        }
        letGo(std::exchange(m_camera, nullptr));
    }
}

bool Sources::showsCamera(const LiveScene &program) const
{
    return program.scene && m_camera
        && std::any_of(program.scene->layers.begin(),
            program.scene->layers.end(),
            [this](const Layer &layer) {
                return layer.kind == LayerKind::Camera && layer.visible
                    && cameraOf(layer) == m_camera;
            });
}

bool Sources::hasDevice(const CaptureDevice &device) const
{
    const auto is = [&](const std::optional<CaptureDevice> &other) {
        return other && isSame(*other, device);
    };
    return is(m_device) || is(m_offer.device) || !m_leaving.holders(device).empty();
}

MediaPtr Sources::cameraOf(const Layer &layer) const
{
    if (layer.uri.isEmpty()) {
        return m_camera;
    }
    const CaptureDevice *device = m_layerCameras.device(layer.uri);
    const bool isPrincipal = device != nullptr && m_device && isSame(*m_device, *device);
    return isPrincipal ? m_camera : m_layerCameras.find(layer.uri);
}

CameraPicture Sources::cameraPicture() const
{
    return [this](const Layer &layer) {
        const MediaPtr camera = cameraOf(layer);
        const FramePtr picture = camera ? camera->frame() : nullptr;
        return picture || layer.uri.isEmpty() ? picture : m_layerCameras.slate(layer.uri);
    };
}

void Sources::pollLayerCameras(const Project &project, const OnAir &onAir)
{
    m_named.clear();
    for (const LiveScene *program : onAir.seen()) {
        addNamed(m_named, program->scene);
    }
    for (const SceneSet set : bothSets) {
        const Scenes &scenes = project.scenes.of(set);
        if (m_onlyShown) {
            addNamed(m_named, scenes[project.currentPlace(set)]);
            continue;
        }
        for (const ScenePtr &scene : scenes) {
            addNamed(m_named, scene);
        }
    }
    m_layerCameras.poll(m_named);
}

std::vector<OpenCamera> Sources::openCameras() const
{
    std::vector<OpenCamera> cameras { { m_device ? &*m_device : nullptr, m_camera.get() } };
    m_layerCameras.addOpen(cameras);
    return cameras;
}

FramePtr Sources::cameraFrame() const
{
    return m_camera ? m_camera->frame() : nullptr;
}

void Sources::poll(const Project &project, OnAir &onAir)
{
    m_polled.clear();
    pollOffer();
    pollCamera();
    pollLayerCameras(project, onAir);
    m_isCameraOnAir = false;
    for (const LiveScene *program : onAir.seen()) {
        m_isCameraOnAir = m_isCameraOnAir || showsCamera(*program);
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
    m_sourceReturn.poll(project.scenes, m_pool, onAir);
    m_shelf.poll();
    for (LiveScene *program : { &onAir.streams, &onAir.hall, &onAir.left[0], &onAir.left[1] }) {
        fillIn(*program);
    }
    sweep(project.scenes);
    tellUnsteady();
    tellNoThreads();
}

void Sources::tellNoThreads()
{
    const bool noPicture = m_shelf.takeNoThread();
    const bool noCamera = m_steady.takeNoThread();
    if (noPicture || noCamera) {
        m_status("El equipo no puede empezar más tareas; se vuelve a intentar cada segundo.");
    }
}

/// A picture that took longer than a TAKE waits is shown as soon as it is decoded.
void Sources::fillIn(LiveScene &program) const
{
    for (std::size_t place = 0; place < program.layers.size(); ++place) {
        if (LiveLayer &live = program.layers[place]; !live.still) {
            live.still = m_shelf.find(program.scene->layers[place]);
        }
    }
}

void Sources::tellRefusal(const Media &source)
{
    if (source.wantsLogin()) {
        m_logins.refused(source.location(), source.login());
    }
}

void Sources::tellUnsteady()
{
    if (const QString name = m_steady.takeRefused(); !name.isEmpty()) {
        m_status(
            Message("%1 no deja mantener el ritmo con poca luz.", { Message::verbatim(name) }));
    }
}

void Sources::showOn(std::initializer_list<ShownScene> scenes) const
{
    ShownBoxes boxes;
    for (const ShownScene &shown : scenes) {
        boxes.add(shown, [this](const Layer &layer) { return comingTo(layer); });
    }
    boxes.tell();
    if (m_offer.opening && m_offer.opening->camera() && m_camera) {
        m_offer.opening->camera()->showIn(boxes.of(m_camera.get()));
    }
}

/// The camera of the layer, or what is about to be shown in it while its source is lost.
Media *Sources::comingTo(const Layer &layer) const
{
    if (layer.kind != LayerKind::Camera) {
        return m_sourceReturn.coming(layer);
    }
    if (const MediaPtr camera = cameraOf(layer)) {
        return camera.get();
    }
    if (!layer.uri.isEmpty()) {
        return m_layerCameras.coming(layer.uri);
    }
    return m_offer.opening ? m_offer.opening->camera().get() : nullptr;
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
        tellRefusal(*source);
        m_status(message);
    }
}

void Sources::reopenCamera()
{
    const bool lost = m_device && !m_camera;
    const std::optional<CaptureDevice> found = m_return.poll(lost ? &*m_device : nullptr);
    const bool busy = m_offer.opening
        && (!m_offer.returning || !found || m_offer.device->place == found->place);
    if (found && !busy) {
        reopen(*found);
    }
}

void Sources::reopen(const CaptureDevice &found)
{
    takeOffer();
    try {
        m_offer = { open(found, m_chosenMode), m_cameraIndex, found, m_chosenMode, true };
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
