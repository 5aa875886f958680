#include "studio/check/service_check.h"

#include "media/capture/device_identity.h"
#include "studio/studio.h"

#include <QPointer>
#include <QStandardPaths>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr int stepMs = 100;
constexpr int patienceMs = 6000; ///< for all
constexpr int watchMs = 1000; ///< at a camera that has just come

} // namespace

ServiceCheck::ServiceCheck(Studio &studio, QObject *parent, AskDisk ask)
    : QObject(parent)
    , m_studio(studio)
    , m_askDisk(std::move(ask))
{
    m_timer.setInterval(stepMs);
    connect(&m_timer, &QTimer::timeout, this, &ServiceCheck::look);
}

/// What takes an answer, unless another run has begun by then.
template <typename Take> auto ServiceCheck::ofThisRun(Take take)
{
    return [guard = QPointer(this), run = m_run, take](const auto &...answer) {
        if (guard && guard->m_run == run) {
            take(answer...);
        }
    };
}

void ServiceCheck::begin(int screens)
{
    ++m_run;
    m_facts = {};
    m_facts.screens = screens;
    m_since.start();
    noteCameras();
    m_machine.tryStart([] { return askMachine(); });
    askDiskRoom();
    measureTexts();
    askService();
    askForKeys();
    askOnlineBible();
    m_timer.start();
}

/// Cameras that layers name, each once; one that is the principal camera's device is that one, also
/// where both are away.
void ServiceCheck::noteCameras()
{
    m_principal = arrivalOf(newLayer(LayerKind::Camera));
    m_sceneCameras.clear();
    const std::optional<CaptureDevice> &device = m_studio.sources().cameraDevice();
    const auto isNoted = [&](const Layer &layer) {
        const MediaPtr camera = m_studio.sources().cameraOf(layer);
        const bool isPrincipal = device
            && !matchDevices({ identityFrom(layer.uri) }, { device->marks }).front().empty();
        return isPrincipal || (camera && camera == m_studio.sources().camera())
            || std::any_of(m_sceneCameras.begin(), m_sceneCameras.end(), [&](const Arrival &each) {
                   return each.layer.uri == layer.uri || (camera && each.camera.lock() == camera);
               });
    };
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : m_studio.document().project().scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                if (layer.kind == LayerKind::Camera && !layer.uri.isEmpty() && !isNoted(layer)) {
                    m_sceneCameras.push_back(arrivalOf(layer));
                }
            }
        }
    }
}

ServiceCheck::Arrival ServiceCheck::arrivalOf(const Layer &layer) const
{
    const MediaPtr camera = m_studio.sources().cameraOf(layer);
    return { layer, camera, camera ? camera->arrivedCount() : 0, m_since.elapsed() };
}

/// Whether enough was seen of the camera, which may have come meanwhile, or nobody wants it open.
bool ServiceCheck::isWatched(Arrival &each, bool isWanted)
{
    const MediaPtr camera = m_studio.sources().cameraOf(each.layer);
    if (camera != each.camera.lock()) {
        each = arrivalOf(each.layer);
    }
    return camera ? m_since.elapsed() - each.sinceMs >= watchMs : !isWanted;
}

bool ServiceCheck::areCamerasWatched()
{
    const Sources &sources = m_studio.sources();
    bool areWatched = isWatched(m_principal, sources.cameraDevice().has_value());
    for (Arrival &each : m_sceneCameras) {
        const bool isWanted = sources.cameraPicture()(each.layer) != nullptr;
        areWatched = isWatched(each, isWanted) && areWatched;
    }
    return areWatched;
}

/// What hangs is not asked again: it would only hang once more.
void ServiceCheck::askDiskRoom()
{
    if (m_disk.isUnderWay() && !m_disk.isReady()) {
        return;
    }
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    const QString home = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
    m_disk.tryStart(
        [ask = m_askDisk, folder = folder.isEmpty() ? home : folder] { return ask(folder); });
}

/// What takes longer than a run goes on for the next one, unless another project is to be measured.
void ServiceCheck::measureTexts()
{
    std::vector<FramedScene> scenes;
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : m_studio.document().project().scenes.of(set)) {
            scenes.push_back({ scene, m_studio.stage().frameOf(set) });
        }
    }
    const QString choice = m_studio.bibles().resolvedChoice();
    if (m_texts.isUnderWay() && scenes == m_measured && choice == m_measuredChoice) {
        return;
    }
    m_measured = scenes;
    m_measuredChoice = choice;
    m_texts.tryStart([scenes = std::move(scenes), choice] { return fitOfTexts(scenes, choice); });
}

void ServiceCheck::askService()
{
    TranslationDesk &translation = m_studio.translation();
    translation.key().withKey(ofThisRun([this, &translation](const QString &key) {
        m_facts.hasServiceKey = !key.isEmpty();
        if (key.isEmpty()) {
            return;
        }
        translation.testKey(ofThisRun([this](bool works, const Message &outcome) {
            m_facts.serviceAnswers = works;
            m_facts.serviceAnswer = outcome;
        }));
    }));
}

void ServiceCheck::askOnlineBible()
{
    BibleDesk &bibles = m_studio.bibles();
    m_facts.usesOnlineBible = bibles.resolvedChoice() == QLatin1String("api");
    if (!m_facts.usesOnlineBible) {
        return;
    }
    bibles.key().withKey(ofThisRun([this](const QString &key) {
        if (key.isEmpty() || m_studio.bibles().online().id.isEmpty()) {
            m_facts.onlineBible
                = "Falta la clave o la Biblia de API.Bible: se mostrará la Reina-Valera 1909.";
            return;
        }
        m_studio.verses().listBibles(key,
            ofThisRun([this](const auto & /*bibles*/, const Message &error) {
                m_facts.onlineBible = error;
            }));
    }));
}

/// The store answers later.
void ServiceCheck::askForKeys()
{
    m_lacksKey = {};
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const QString name = QString::fromUtf8(destinationPresets().at(slot).name);
        m_studio.secrets().findInFile(secret_account::stream(name),
            ofThisRun([this, slot](bool found) { m_lacksKey.at(slot) = !found; }));
    }
}

void ServiceCheck::look()
{
    if (const AudioCapture *capture = m_studio.audio().capture()) {
        const AudioLevels &levels = capture->inputLevels();
        m_facts.inputPeak = std::max({ m_facts.inputPeak, levels.peak[0], levels.peak[1] });
    }
    const qint64 passedMs = m_since.elapsed();
    const bool isServiceKnown
        = m_facts.hasServiceKey && (!*m_facts.hasServiceKey || m_facts.serviceAnswers);
    const bool isBibleKnown = !m_facts.usesOnlineBible || m_facts.onlineBible;
    const bool isDiskKnown = m_disk.isReady() || passedMs >= diskMs;
    const bool areCamerasKnown = areCamerasWatched();
    const bool isAnswered = m_machine.isReady() && m_texts.isReady() && isDiskKnown
        && isServiceKnown && isBibleKnown && areCamerasKnown;
    if (passedMs < lookMs || (!isAnswered && passedMs < patienceMs)) {
        return;
    }
    m_timer.stop();
    takeAnswers();
    readStudio();
    readOutputs();
    Q_EMIT finished(judge(m_facts));
}

void ServiceCheck::takeAnswers()
{
    if (m_machine.isReady()) {
        const MachineFacts machine = m_machine.take();
        m_facts.clockIsSet = machine.clockIsSet;
        m_facts.onBattery = machine.onBattery;
    }
    if (m_disk.isReady()) {
        m_facts.freeBytes = m_disk.take();
    } else {
        m_facts.diskHangs = m_disk.isUnderWay();
    }
    if (m_texts.isReady()) {
        m_facts.texts = m_texts.take();
    }
    m_machine.abandon();
}

void ServiceCheck::readStudio()
{
    const AudioInput &audio = m_studio.audio();
    m_facts.hasInput = audio.device().has_value(); // a test signal is none
    m_facts.inputIsLost = !audio.lostDevice().isEmpty();
    m_facts.isMuted = audio.gainState().muted;
    const Sources &sources = m_studio.sources();
    m_facts.hasCamera = sources.cameraDevice().has_value();
    m_facts.cameraIsLost = m_facts.hasCamera && !sources.camera();
    m_facts.cameraRate = rateSince(m_principal);
    readSceneCameras();
}

/// 0 when it is away.
double ServiceCheck::rateSince(const Arrival &before) const
{
    const MediaPtr camera = m_studio.sources().cameraOf(before.layer);
    if (!camera || camera != before.camera.lock()) {
        return 0;
    }
    return static_cast<double>(camera->arrivedCount() - before.pictures) * 1000.0
        / static_cast<double>(std::max<qint64>(m_since.elapsed() - before.sinceMs, 1));
}

/// One that is looked for shows its name meanwhile; one that is not wanted open shows nothing.
void ServiceCheck::readSceneCameras()
{
    const Sources &sources = m_studio.sources();
    for (const Arrival &before : m_sceneCameras) {
        const bool isAway = !sources.cameraOf(before.layer);
        const bool isLookedFor = sources.cameraPicture()(before.layer) != nullptr;
        m_facts.sceneCameras.push_back({ identityFrom(before.layer.uri).name,
            rateSince(before),
            isAway && isLookedFor,
            isAway && !isLookedFor });
    }
}

void ServiceCheck::readOutputs()
{
    m_facts.lineHadRoom = m_studio.lineTest().hadRoom();
    m_facts.lineVerdict = m_studio.lineTest().text();
    m_facts.kbits = m_studio.document().project().videoKbits;
    const StreamDesk &streams = m_studio.streams();
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        if (!streams.isSelected(slot)) {
            continue;
        }
        const QString name = QString::fromUtf8(destinationPresets().at(slot).name);
        m_facts.destinations << name;
        if (streams.server(slot).trimmed().isEmpty()) {
            m_facts.withoutServer << name;
        }
        if (streams.key(slot).trimmed().isEmpty() && m_lacksKey.at(slot)) {
            m_facts.withoutKey << name;
        }
    }
}

} // namespace nimbara
