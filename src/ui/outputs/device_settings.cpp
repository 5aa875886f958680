#include "ui/outputs/device_settings.h"

#include "studio/studio.h"

namespace nimbara {

namespace {

const auto onlyShownKey = QStringLiteral("cameras_only_shown");
const auto steadyKey = QStringLiteral("steady_cameras");
const auto modesKey = QStringLiteral("camera_modes");
const auto offsetsKey = QStringLiteral("sound_offsets");

} // namespace

DeviceSettings::DeviceSettings(Studio &studio, SourcesTab &sources, AudioTab &audio)
    : m_studio(studio)
    , m_sources(sources)
    , m_audio(audio)
{
    connectCameras();
    connectModes();
    connectOffset();
    connectClaps();
}

void DeviceSettings::connectCameras()
{
    Sources &sources = m_studio.sources();
    sources.openCamerasOnlyShown(m_studio.settings().value(onlyShownKey).toBool());
    m_sources.showCamerasOnlyShown(sources.opensCamerasOnlyShown());
    connect(&m_sources, &SourcesTab::camerasOnlyShownChosen, this, [this](bool only) {
        m_studio.sources().openCamerasOnlyShown(only);
        m_studio.settings().setValue(onlyShownKey, only);
    });

    sources.steadyCameras().restore(m_studio.settings().value(steadyKey).toStringList());
    m_sources.showSteady(sources.steadyCameras().identities());
    const auto choose = [this](const CaptureDevice &camera, bool steady) {
        SteadyCameras &cameras = m_studio.sources().steadyCameras();
        cameras.choose(camera, steady);
        m_studio.settings().setValue(steadyKey, cameras.identities());
        m_sources.showSteady(cameras.identities());
    };
    connect(&m_sources, &SourcesTab::steadyChosen, this, choose);
}

void DeviceSettings::connectModes()
{
    CameraModes &modes = m_studio.sources().cameraModes();
    modes.restore(m_studio.settings().value(modesKey).toMap());
    m_sources.showModes(modes);
    const auto choose
        = [this, &modes](const CaptureDevice &camera, const std::optional<DeviceMode> &mode) {
              modes.choose(camera, mode);
              m_studio.settings().setValue(modesKey, modes.kept());
          };
    connect(&m_sources, &SourcesTab::modeChosen, this, choose);
}

void DeviceSettings::connectOffset()
{
    AudioInput &input = m_studio.audio();
    input.restoreOffsets(m_studio.settings().value(offsetsKey).toMap());
    m_audio.showOffset(input.offset().ms());
    connect(&input, &AudioInput::offsetChanged, &m_audio, &AudioTab::showOffset);
    connect(&m_audio, &AudioTab::offsetChosen, this, &DeviceSettings::setOffset);
}

/// The range is the tab's own.
void DeviceSettings::setOffset(int ms)
{
    m_studio.audio().setOffset(ms);
    m_studio.settings().setValue(offsetsKey, m_studio.audio().offset().offsets());
}

void DeviceSettings::connectClaps()
{
    ClapMeter &claps = m_studio.claps();
    connect(&m_audio, &AudioTab::measurePressed, this, [this, &claps] {
        if (claps.isUnderWay()) {
            claps.cancel();
        } else {
            claps.begin();
        }
        m_audio.showMeasuring(claps.isUnderWay());
    });
    connect(&claps, &ClapMeter::told, &m_studio, &Studio::status);
    connect(&claps, &ClapMeter::measured, this, [this](std::optional<int> earlyMs) {
        m_audio.showMeasuring(false);
        if (earlyMs) {
            m_audio.propose(m_studio.audio().offset().ms() + *earlyMs);
        }
    });
}

} // namespace nimbara
