#include "studio/check/first_steps.h"

#include "output/sink/destination.h"
#include "studio/studio.h"

#include <QPointer>

#include <algorithm>

namespace nimbara {

namespace {

const auto doneSetting = QStringLiteral("first_steps/done");
const auto closedSetting = QStringLiteral("first_steps/closed");
constexpr std::uint32_t allDone = (1U << firstSteps.size()) - 1;

std::uint32_t bitOf(FirstStep step)
{
    return 1U << static_cast<std::uint32_t>(step);
}

/// More than the noise of a line that nobody speaks into.
bool isHeard(const AudioLevels &levels)
{
    constexpr double quiet = 0.01; // −40 dBFS
    return std::max(levels.peak[0], levels.peak[1]) >= quiet;
}

bool shows(const MediaPtr &camera)
{
    return camera && camera->frameCount() > 0;
}

} // namespace

FirstSteps::FirstSteps(Studio &studio, QSettings &settings)
    : m_studio(studio)
    , m_settings(settings)
    , m_done(settings.value(doneSetting).toUInt() & allDone)
{
    connect(&studio, &Studio::healthMeasured, this, &FirstSteps::look);
}

bool FirstSteps::isDone(FirstStep step) const
{
    return (m_done & bitOf(step)) != 0;
}

bool FirstSteps::areAllDone() const
{
    return m_done == allDone;
}

bool FirstSteps::isClosed() const
{
    return m_settings.value(closedSetting).toBool();
}

void FirstSteps::setClosed(bool closed)
{
    m_settings.setValue(closedSetting, closed);
    Q_EMIT changed();
}

void FirstSteps::look()
{
    const std::uint32_t before = m_done;
    for (const FirstStep step : firstSteps) {
        m_done |= !isDone(step) && holds(step) ? bitOf(step) : 0;
    }
    if (m_done != before) {
        m_settings.setValue(doneSetting, m_done);
        Q_EMIT changed();
    }
}

bool FirstSteps::holds(FirstStep step)
{
    switch (step) {
    case FirstStep::Camera:
        return hasCamera();
    case FirstStep::Sound: {
        const AudioInput &audio = m_studio.audio();
        return audio.capture() != nullptr && audio.device() && audio.lostDevice().isEmpty()
            && isHeard(audio.capture()->inputLevels());
    }
    case FirstStep::HallScreen:
        return m_studio.isHallShown();
    case FirstStep::Scene:
        return hasScene();
    case FirstStep::Recording:
        return m_studio.outputs().recording().position().value_or(0) >= leastRecordingNs;
    case FirstStep::Destination:
        return hasDestination();
    }
    return false;
}

/// The principal one, or one that a layer names.
bool FirstSteps::hasCamera() const
{
    const Sources &sources = m_studio.sources();
    if (sources.cameraDevice() && shows(sources.camera())) {
        return true;
    }
    const std::vector<Layer> &layers = m_studio.document().currentScene()->layers;
    return std::any_of(layers.begin(), layers.end(), [&sources](const Layer &layer) {
        return layer.kind == LayerKind::Camera && !layer.uri.isEmpty()
            && shows(sources.cameraOf(layer));
    });
}

/// Something beside what a new project has.
bool FirstSteps::hasScene() const
{
    return std::any_of(bothSets.begin(), bothSets.end(), [this](SceneSet set) {
        const Scenes &scenes = m_studio.document().scenes().of(set);
        const std::size_t usual = defaultScene(set == SceneSet::Hall).layers.size();
        return scenes.size() > 1 || scenes.front()->layers.size() > usual;
    });
}

/// Ready to be started, or started.
bool FirstSteps::hasDestination()
{
    const StreamDesk &streams = m_studio.streams();
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const bool isReady = streams.isSelected(slot) && !streams.server(slot).trimmed().isEmpty()
            && (!streams.key(slot).isEmpty() || isKeyStored(slot));
        if (isReady || streams.isOnAir(slot)) {
            return true;
        }
    }
    return false;
}

/// Asks the store, which answers later: a key that it has is read when the destination starts.
bool FirstSteps::isKeyStored(std::size_t slot)
{
    const std::uint32_t bit = 1U << slot;
    const QString account
        = secret_account::stream(QString::fromUtf8(destinationPresets().at(slot).name));
    m_studio.secrets().findInFile(account, [self = QPointer(this), bit](bool found) {
        if (self) {
            self->m_stored = found ? self->m_stored | bit : self->m_stored & ~bit;
        }
    });
    return (m_stored & bit) != 0;
}

} // namespace nimbara
