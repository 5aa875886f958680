#pragma once

#include "base/report.h"
#include "media/capture/camera_modes.h"
#include "media/capture/devices.h"
#include "media/capture/steady_cameras.h"
#include "media/sources/media_factory.h"
#include "studio/sources/camera_arrival.h"
#include "studio/sources/camera_opening.h"
#include "studio/sources/camera_openings.h"
#include "studio/sources/device_return.h"
#include "studio/sources/layer_cameras.h"
#include "studio/sources/leaving_devices.h"
#include "studio/sources/login_desk.h"
#include "studio/sources/on_air.h"
#include "studio/sources/opening.h"
#include "studio/sources/picture_shelf.h"
#include "studio/sources/screen_portal.h"
#include "studio/sources/shown_boxes.h"
#include "studio/sources/source_pool.h"
#include "studio/sources/source_return.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// The pictures that come in: the camera, the sources and the picture files that layers show.
/// Interface thread only.
class Sources {
public:
    /// `frame`: the size of the stream program, asked anew at each use.
    /// `secrets`, `settings`: where logins, and the choice of a screen, are kept.
    Sources(const Clock &clock,
        const MediaFactory &factory,
        SecretStore &secrets,
        QSettings &settings,
        std::function<FrameSize()> frame,
        Report status);

    [[nodiscard]] SourcePool &pool() { return m_pool; }
    [[nodiscard]] LoginDesk &logins() { return m_logins; }
    [[nodiscard]] ScreenPortal &screen() { return m_screen; }
    [[nodiscard]] PictureShelf &shelf() { return m_shelf; }
    /// The scene with what its layers show now, to be held.
    [[nodiscard]] LiveScene live(const ScenePtr &scene) const;
    /// The size in pixels of what the layer shows, in its own shape, when there is a picture.
    [[nodiscard]] std::optional<FrameSize> contentSize(const Layer &layer) const;
    /// The project has changed: opens and decodes what its layers lack.
    void follow(const SceneSets &scenes);

    /// Index of a camera that is no device.
    static constexpr std::int32_t testBars = -1;
    /// Index of the bars that stand in until sources are connected again.
    static constexpr std::int32_t standIn = -2;

    /// From now on every camera layer shows a picture without a device: `testBars`, `standIn`. A
    /// camera that is opening is called off.
    void setBars(MediaPtr camera, std::int32_t index);
    /// Opens a camera, which takes the place of the present one with its first picture. When it
    /// stops before, that is told, and the present one stays. `index`: its place in the list of
    /// video devices. No device: bars. `chosen`: the mode that the operator wants tried first. A
    /// device that is shown already, in another mode, lets go of its picture at once, since it can
    /// be opened once only. Throws `Error` when it cannot be built.
    void offerCamera(std::int32_t index,
        const std::optional<CaptureDevice> &device,
        const std::optional<DeviceMode> &chosen);
    /// The camera that is opening is not wanted any more.
    void withdrawCamera();
    /// A lost camera that is opening again by itself is what the operator asks for.
    void claimCamera()
    {
        m_offer.returning = false;
        m_refused = false;
    }
    /// The device that is opening, or none.
    [[nodiscard]] const std::optional<CaptureDevice> &offeredDevice() const
    {
        return m_offer.device;
    }
    [[nodiscard]] const std::optional<DeviceMode> &offeredMode() const { return m_offer.chosen; }
    /// How the last offer of the operator came along.
    [[nodiscard]] Opening cameraOpening() const;
    /// None while the camera is lost.
    [[nodiscard]] const MediaPtr &camera() const { return m_camera; }
    [[nodiscard]] std::int32_t cameraIndex() const { return m_cameraIndex; }
    /// The device of the camera, also while it is lost; none for bars.
    [[nodiscard]] const std::optional<CaptureDevice> &cameraDevice() const { return m_device; }
    /// The mode that the operator chose for it; none: the best.
    [[nodiscard]] const std::optional<DeviceMode> &chosenMode() const { return m_chosenMode; }
    /// It delivers in a lesser mode, since a better one failed when it was opened, or soon after,
    /// time and again. That may pass: the next time it is opened the better one is tried first
    /// again. Not while a program shows it, since a device that is opened anew has no picture for
    /// seconds.
    [[nodiscard]] bool mayDoBetter() const { return m_mayDoBetter && !m_isCameraOnAir; }
    /// The camera's newest picture, or none.
    [[nodiscard]] FramePtr cameraFrame() const;
    /// Tells what a camera layer shows: the camera above, unless it names a device; then that one's
    /// picture, or its name while it is not there.
    [[nodiscard]] CameraPicture cameraPicture() const;
    /// The camera that the layer shows, or none while there is no picture of it.
    [[nodiscard]] MediaPtr cameraOf(const Layer &layer) const;

    /// Cameras that layers name are open while any scene has them, or only while a layer on PREVIEW
    /// or on a program shows them.
    void openCamerasOnlyShown(bool only) { m_onlyShown = only; }
    [[nodiscard]] bool opensCamerasOnlyShown() const { return m_onlyShown; }

    /// Every camera's picture is shown so much later than it comes, in µs (`SoundOffset`).
    void delayCameras(std::int64_t us)
    {
        m_cameraDelayUs = us;
        m_layerCameras.delayPictures(us);
    }
    /// Cameras that keep their rate in poor light; one that cannot is told of.
    [[nodiscard]] SteadyCameras &steadyCameras() { return m_steady; }
    /// The modes that are tried first when cameras of layers are opened.
    [[nodiscard]] CameraModes &cameraModes() { return m_modes; }
    /// Cameras of layers that are open in another mode are opened anew.
    void applyModes() { m_layerCameras.applyModes(); }
    /// The principal camera, whatever it shows, then those of layers that deliver. Until the next
    /// run; a new list, which is not for every run.
    [[nodiscard]] std::vector<OpenCamera> openCameras() const;

    /// Reads the camera and each source once, and shows what they have to say. Files that neither a
    /// program nor a current scene shows are held. Network and screen sources that stopped are
    /// opened again (`SourceReturn`), in the programs too.
    void poll(const Project &project, OnAir &onAir);

    /// Tells each source where the scenes show it, also one that is on its way back; one that is
    /// shown nowhere stays as it is.
    void showOn(std::initializer_list<ShownScene> scenes) const;

    /// Looks for a lost camera in the background, every 3 s, and shows it again once the very same
    /// device is there and delivers, under whatever number. Logs, never throws or waits.
    void reopenCamera();

    /// Logs the first picture of each camera source, once.
    void logFirstFrame();

private:
    /// A camera that has not delivered yet.
    struct Offer {
        std::unique_ptr<CameraOpening> opening; ///< none: nothing is offered
        std::int32_t index = testBars;
        std::optional<CaptureDevice> device;
        std::optional<DeviceMode> chosen;
        bool returning = false; ///< nobody asked for it: a lost camera that is there again
    };

    [[nodiscard]] std::unique_ptr<CameraOpening> open(const CaptureDevice &device,
        const std::optional<DeviceMode> &first);
    [[nodiscard]] std::unique_ptr<CameraOpening> openBars() const;
    [[nodiscard]] Media *comingTo(const Layer &layer) const;
    void letGo(const MediaPtr &camera);
    Offer takeOffer();
    void install(MediaPtr camera, const Offer &from);
    [[nodiscard]] bool hasDevice(const CaptureDevice &device) const;
    void pollLayerCameras(const Project &project, const OnAir &onAir);
    void pollOffer();
    void refuseOffer();
    void pollCamera();
    void fillIn(LiveScene &program) const;
    [[nodiscard]] bool showsCamera(const LiveScene &program) const;
    void reopen(const CaptureDevice &found);
    void tellUnsteady();
    void tellNoThreads();
    [[nodiscard]] bool mayOpen(const Layer &layer);
    void tellRefusal(const Media &source);
    void pollOnce(Media *source, bool shown);
    void sweep(const SceneSets &scenes);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    std::function<FrameSize()> m_frame;
    Report m_status;
    MediaPtr m_camera;
    std::int32_t m_cameraIndex = testBars;
    bool m_mayDoBetter = false;
    std::int64_t m_cameraSinceUs = 0; ///< it is shown
    bool m_isCameraOnAir = false; ///< a program shows it
    bool m_refused = false; ///< the operator's last offer
    bool m_firstFrameLogged = false;
    std::int64_t m_cameraDelayUs = 0;
    bool m_onlyShown = false;
    std::optional<CaptureDevice> m_device;
    std::optional<DeviceMode> m_chosenMode;
    Offer m_offer;
    LeavingDevices m_leaving;
    DeviceReturn m_return;
    SteadyCameras m_steady;
    CameraModes m_modes;
    CameraOpenings m_openings;
    LayerCameras m_layerCameras;
    LoginDesk m_logins;
    ScreenPortal m_screen;
    SourcePool m_pool;
    SourceReturn m_sourceReturn;
    PictureShelf m_shelf;
    std::int64_t m_lastSweep = 0;
    std::vector<const Media *> m_polled; ///< of this run; kept to reuse its memory
    std::vector<QString> m_named; ///< devices that layers name; the same
};

} // namespace nimbara
