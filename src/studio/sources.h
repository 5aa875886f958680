#pragma once

#include "media/media_factory.h"
#include "studio/report.h"
#include "studio/stage.h"

#include <cstdint>
#include <vector>

namespace nimbara {

/// The pictures that come in: the camera and every source that a layer holds. Interface thread
/// only.
class Sources {
public:
    Sources(const Clock &clock, const MediaFactory &factory, Report status);

    /// The camera that every camera layer shows, and the place of its device in the list of video
    /// devices; −1: test bars, −2: bars that stand in until sources are connected again.
    void setCamera(MediaPtr camera, std::int32_t index);
    [[nodiscard]] const MediaPtr &camera() const { return m_camera; }
    [[nodiscard]] std::int32_t cameraIndex() const { return m_cameraIndex; }
    /// The camera's newest picture, or none.
    [[nodiscard]] FramePtr cameraFrame() const;

    /// The video devices of the last discovery, in the order of the camera list.
    void setVideoDevices(std::vector<DeviceRef> devices);
    [[nodiscard]] const std::vector<DeviceRef> &videoDevices() const { return m_videoDevices; }

    /// Reads each distinct source once, the camera first, and shows what it has to say.
    void poll(const Stage &stage);

    /// Builds a lost camera anew, at most every 3 s. Logs, never throws.
    void reopenCamera(FrameSize size);

    /// Logs the first picture of each camera source, once.
    void logFirstFrame();

private:
    void pollOnce(Media *source);
    void pollLayers(const std::vector<Layer> &layers);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    Report m_status;
    MediaPtr m_camera;
    std::int32_t m_cameraIndex = -1;
    std::vector<DeviceRef> m_videoDevices;
    std::int64_t m_lastReopenAttempt = 0;
    bool m_firstFrameLogged = false;
    std::vector<const Media *> m_polled; ///< of this run; kept to reuse its memory
};

} // namespace nimbara
