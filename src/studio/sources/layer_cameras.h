#pragma once

#include "base/clock.h"
#include "base/report.h"
#include "media/capture/devices.h"
#include "studio/sources/camera_arrival.h"
#include "studio/sources/camera_opening.h"
#include "studio/sources/camera_openings.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// The cameras that layers name themselves, beside the principal one. Each device is opened once,
/// however many layers name it, looked for every 3 s while it is not there, and opened again by
/// itself; never another one in its place. A search that does not answer for 5 s is told of once,
/// and what was lost since the one before is tried where it was. Interface thread only; nothing in
/// it waits.
class LayerCameras {
public:
    static constexpr std::int64_t spacingUs = 3'000'000; ///< between two searches or attempts

    /// Who else has that device: it is not opened until nobody has.
    using IsHeld = std::function<bool(const CaptureDevice &device)>;

    /// `openings` outlives this.
    LayerCameras(const Clock &clock, CameraOpenings &openings, IsHeld isHeld, Report status);
    LayerCameras(const LayerCameras &) = delete;
    LayerCameras &operator=(const LayerCameras &) = delete;
    LayerCameras(LayerCameras &&) = delete;
    LayerCameras &operator=(LayerCameras &&) = delete;
    ~LayerCameras();

    /// Call on every run of the frame clock with the devices that layers name (`identityText`),
    /// each once. Those that are not named any more are let go of.
    void poll(const std::vector<QString> &named);

    /// Every picture is shown so much later than it comes, in µs.
    void delayPictures(std::int64_t us) { m_pictureDelayUs = us; }

    /// The camera, once it delivers; none when it is away, or in other hands.
    [[nodiscard]] MediaPtr find(const QString &named) const;
    /// The one that is being opened and has no picture yet, or none.
    [[nodiscard]] Media *coming(const QString &named) const;
    /// The device as it was found last, or none.
    [[nodiscard]] const CaptureDevice *device(const QString &named) const;
    /// Its name on a plain ground: what a layer shows of a camera that is not there.
    [[nodiscard]] FramePtr slate(const QString &named) const;

    /// Adds those that deliver.
    void addOpen(std::vector<OpenCamera> &cameras) const;
    /// Those that were opened in another mode than the one chosen by now are opened anew.
    void applyModes();

    /// The device becomes the principal camera, in the mode that was chosen for it: hands the open
    /// one over, or none when it is open in another.
    MediaPtr handOver(const CaptureDevice &device, const std::optional<DeviceMode> &chosen);
    /// The device is the principal camera no more: takes it over; false when no layer names it.
    bool takeOver(const CaptureDevice &device,
        const std::optional<DeviceMode> &chosen,
        const MediaPtr &camera);
    /// Somebody else opens the device: lets go of it. Returns what holds it still.
    DeviceHolders release(const CaptureDevice &device);

private:
    struct Entry;

    [[nodiscard]] Entry *entryOf(const QString &named) const;
    [[nodiscard]] bool isOpenedBy(const Entry &other, const Entry &entry) const;
    [[nodiscard]] bool isInHands(const Entry &entry) const;
    void name(const std::vector<QString> &named);
    void search();
    void resolve(const std::vector<CaptureDevice> &present);
    void remember();
    void advance(Entry &entry);
    void open(Entry &entry);
    void follow(Entry &entry);
    void watch(Entry &entry);
    void drop(Entry &entry);

    const Clock &m_clock;
    CameraOpenings &m_openings;
    IsHeld m_isHeld;
    Report m_status;
    std::vector<std::unique_ptr<Entry>> m_entries;
    LeavingDevices m_leaving;
    DeviceDiscovery m_search;
    std::optional<std::int64_t> m_searchedUs; ///< none: a search is due
    std::int64_t m_pictureDelayUs = 0;
    bool m_silenceTold = false;
};

} // namespace nimbara
