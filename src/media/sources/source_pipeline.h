#pragma once

#include "media/capture/device_mode.h"
#include "media/capture/device_road.h"
#include "media/gst/gst_handles.h"
#include "media/sources/natural_picture.h"
#include "media/sources/network_source.h"
#include "media/sources/platform_elements.h"
#include "media/sources/screen_stream.h"
#include "signal/frame.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace nimbara {

/// What a source is to show: a capture device, else a media location, else the screen, else test
/// bars.
struct SourceRequest {
    FrameSize size; ///< of the output profile
    GstDevice *device = nullptr;
    std::optional<DeviceMode> mode {}; ///< of the device; none: whatever raw picture it delivers
    DeviceRoad road = DeviceRoad::System; ///< to the device
    QString uri {}; ///< UTF-8 text, without a login
    NetworkAccess network {}; ///< of a location that is not a file
    bool screen = false;
    std::optional<ScreenStream> stream {}; ///< of the screen, where the desktop grants it

    [[nodiscard]] bool isTestBars() const { return device == nullptr && uri.isEmpty() && !screen; }
};

/// The linked pipeline "nimbara-source", not yet playing, and the elements that its owner talks to.
struct SourcePipeline {
    ElementRef source; ///< captures or decodes; named "source"
    ElementRef pictureHead; ///< of the picture branch: takes raw pictures of any kind
    ElementRef videoSink; ///< its end: RGBA in the picture's own shape, test bars in the profile's
    std::shared_ptr<NaturalPicture> picture;
    std::shared_ptr<std::atomic<std::uint64_t>> arrived; ///< pictures from a device or the screen
    ElementRef audioConvert; ///< head of the sound branch
    ElementRef audioSink; ///< its end: the system's block format
    QString label; ///< what was built, for the log
    Pipeline pipeline; ///< last, so that it stops before the others are let go
};

/// Builds and links the pipeline. A URI decoder's pads do not exist yet: whoever takes the pipeline
/// links them to `pictureHead` and `audioConvert`. Throws `Error` with the operator's text;
/// nothing stays behind then.
SourcePipeline buildSourcePipeline(const SourceRequest &request, const ScreenElements &screens);

} // namespace nimbara
