#pragma once

#include "media/gst/gst_handles.h"
#include "signal/frame.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// How a device codes its pictures, the cheapest for this computer first.
enum class PictureCoding { Raw, Jpeg, H264 };

/// Pictures per second as a fraction; 0 / 1 where the device does not tell.
struct FrameRate {
    std::int32_t numerator = 0;
    std::int32_t denominator = 1;
    bool operator==(const FrameRate &) const = default;

    [[nodiscard]] bool isKnown() const { return numerator > 0; }
    [[nodiscard]] double perSecond() const { return static_cast<double>(numerator) / denominator; }
};

/// One way in which a capture device can deliver.
struct DeviceMode {
    PictureCoding coding = PictureCoding::Raw;
    QString format {}; ///< GStreamer's name of the raw format; empty: whatever comes
    FrameSize size {};
    FrameRate rate {};
    bool operator==(const DeviceMode &) const = default;
};

/// How many modes of a device are tried before it counts as one that does not deliver.
constexpr std::size_t maxModesTried = 3;

/// Every mode that is offered in system memory with a size: one for each format, size and rate of a
/// list. Of a range of sizes those next to `target` and the largest, of a range of rates the one
/// next to 30 per second. Formats that nobody here can read are left out. `offered` may be null.
std::vector<DeviceMode> expandModes(const GstCaps *offered, FrameSize target);

/// The modes by their worth for a frame of `target`, the best first. The studio makes 30 pictures
/// per second, so the rate comes first: 28.5 and more, else 24, else 15, else one that is not told,
/// else the fastest. Then the target's shape (within 1 %), then the size: the smallest that covers
/// the target, else the largest. What is left goes by the coding, then by the rate next to 30, then
/// by the device's order.
///
/// Grey modes are an infrared sensor's, and left out. Of modes that differ in nothing but their
/// rate only the best stays.
std::vector<DeviceMode> rankModes(std::vector<DeviceMode> offered, FrameSize target);

/// Every mode that can be shown, by its worth for such a frame; grey ones at the end.
std::vector<DeviceMode> modesToChoose(std::vector<DeviceMode> offered, FrameSize target);

/// A mode as an operator reads it, alike in every language: "1920 × 1080 · 30 fps · MJPEG".
QString modeText(const DeviceMode &mode);

/// The modes to ask of a device, one after the other as long as none delivers: the best that this
/// installation can decode, `maxModesTried` at most. `wanted` comes first if it is offered. Empty:
/// the device tells none, and whatever comes is taken. Throws `Error` when there are modes but none
/// that can be shown.
std::vector<DeviceMode>
modesToTry(GstDevice *device, FrameSize target, const std::optional<DeviceMode> &wanted);

/// The caps that ask for exactly this mode; bare raw video without one.
CapsRef modeCaps(const std::optional<DeviceMode> &mode);

} // namespace nimbara
