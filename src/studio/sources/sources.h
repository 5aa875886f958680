#pragma once

#include "base/report.h"
#include "media/capture/devices.h"
#include "media/sources/media_factory.h"
#include "studio/sources/on_air.h"
#include "studio/sources/picture_shelf.h"
#include "studio/sources/source_pool.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace nimbara {

/// The pictures that come in: the camera, the sources and the picture files that layers show.
/// Interface thread only.
class Sources {
public:
    /// `frame`: the size of the stream program, asked anew at each use.
    Sources(const Clock &clock,
        const MediaFactory &factory,
        std::function<FrameSize()> frame,
        Report status);

    [[nodiscard]] SourcePool &pool() { return m_pool; }
    [[nodiscard]] PictureShelf &shelf() { return m_shelf; }
    /// The scene with what its layers show now, to be held.
    [[nodiscard]] LiveScene live(const ScenePtr &scene) const;
    /// The size in pixels of what the layer shows, when there is a picture.
    [[nodiscard]] std::optional<FrameSize> contentSize(const Layer &layer) const;
    /// The project has changed: opens and decodes what its layers lack.
    void follow(const SceneSets &scenes);

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

    /// Reads the camera and each source once, and shows what they have to say. Files that neither a
    /// program nor a current scene shows are held.
    void poll(const Project &project, const OnAir &onAir);

    /// Looks for a lost camera in the background, at most every 3 s, and builds it anew once the
    /// very same device is there again, under whatever number. Logs, never throws or waits.
    void reopenCamera(FrameSize size);

    /// Logs the first picture of each camera source, once.
    void logFirstFrame();

private:
    [[nodiscard]] bool cameraLost() const;
    void reopenFrom(const DeviceLists &devices, FrameSize size);
    void pollOnce(Media *source, bool shown);
    void sweep(const SceneSets &scenes);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    Report m_status;
    MediaPtr m_camera;
    std::int32_t m_cameraIndex = testBars;
    std::optional<CaptureDevice> m_device;
    DeviceDiscovery m_search;
    std::int64_t m_lastReopenAttempt = 0;
    bool m_firstFrameLogged = false;
    SourcePool m_pool;
    PictureShelf m_shelf;
    std::int64_t m_lastSweep = 0;
    std::vector<const Media *> m_polled; ///< of this run; kept to reuse its memory
};

} // namespace nimbara
