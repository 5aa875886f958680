#pragma once

#include "ui/outputs/audio_tab.h"
#include "ui/outputs/sources_tab.h"

#include <QObject>

namespace nimbara {

class Studio;

/// What the operator sets for each device, kept from one run to the next: cameras that keep their
/// rate in poor light, their modes, when the cameras of layers are open, the offset of each audio
/// input and the help that measures it. Interface thread only.
class DeviceSettings : public QObject {
    Q_OBJECT
public:
    /// Restores what was kept and connects the two tabs. All outlive the settings.
    DeviceSettings(Studio &studio, SourcesTab &sources, AudioTab &audio);

private:
    void connectCameras();
    void connectModes();
    void connectOffset();
    void connectClaps();
    void setOffset(int ms);

    Studio &m_studio;
    SourcesTab &m_sources;
    AudioTab &m_audio;
};

} // namespace nimbara
