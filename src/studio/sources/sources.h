#pragma once

#include "media/capture/devices.h"
#include "media/sources/media_factory.h"
#include "studio/edit/stage.h"
#include "studio/report.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// The pictures that come in: the camera and every source that a layer holds. Interface thread
/// only.
class Sources {
public:
    Sources(const Clock &clock, const MediaFactory &factory, Report status);

    /// Index of a camera that is no device.
    static constexpr std::int32_t testBars = -1;
    /// Index of the bars that stand in until sources are connected again.
    static constexpr std::int32_t standIn = -2;

    /// The camera that every camera layer shows is a picture without a device: `testBars`,
    /// `standIn`.
    void setBars(MediaPtr camera, std::int32_t index);
    /// The same of a capture device, at its place in the list of video devices.
    void setCamera(MediaPtr camera, std::int32_t index, const CaptureDevice &device);
    [[nodiscard]] const MediaPtr &camera() const { return m_camera; }
    [[nodiscard]] std::int32_t cameraIndex() const { return m_cameraIndex; }
    /// The device of the camera; none for bars.
    [[nodiscard]] const std::optional<CaptureDevice> &cameraDevice() const { return m_device; }
    /// The camera's newest picture, or none.
    [[nodiscard]] FramePtr cameraFrame() const;

    /// Reads each distinct source once, the camera first, and shows what it has to say. Files that
    /// neither a program nor a current scene shows are held.
    void poll(const Stage &stage);

    /// Looks for a lost camera in the background, at most every 3 s, and builds it anew once the
    /// very same device is there again, under whatever number. Logs, never throws or waits.
    void reopenCamera(FrameSize size);

    /// Logs the first picture of each camera source, once.
    void logFirstFrame();

private:
    [[nodiscard]] bool cameraLost() const;
    void reopenFrom(const DeviceLists &devices, FrameSize size);
    void pollOnce(Media *source, bool shown);
    void pollLayers(const std::vector<Layer> &layers, bool shown);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    Report m_status;
    MediaPtr m_camera;
    std::int32_t m_cameraIndex = testBars;
    std::optional<CaptureDevice> m_device;
    DeviceDiscovery m_search;
    std::int64_t m_lastReopenAttempt = 0;
    bool m_firstFrameLogged = false;
    std::vector<const Media *> m_polled; ///< of this run; kept to reuse its memory
};

} // namespace nimbara
