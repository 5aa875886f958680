#include "media/capture/device_mode.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace nimbara {

namespace {

bool isSystemMemory(const GstCaps *caps, guint index)
{
    const GstCapsFeatures *features = gst_caps_get_features(caps, index);
    return features == nullptr
        || gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY) != FALSE;
}

/// The definite size of a raw mode in system memory, or none.
std::optional<FrameSize> modeSize(const GstCaps *caps, guint index)
{
    const GstStructure *mode = gst_caps_get_structure(caps, index);
    if (!isSystemMemory(caps, index) || gst_structure_has_name(mode, "video/x-raw") == FALSE) {
        return std::nullopt;
    }
    FrameSize size;
    if (gst_structure_get_int(mode, "width", &size.width) == FALSE
        || gst_structure_get_int(mode, "height", &size.height) == FALSE || size.width < 1
        || size.height < 1) {
        return std::nullopt;
    }
    return size;
}

double score(FrameSize mode, FrameSize target)
{
    const double aspect = static_cast<double>(target.width) / target.height;
    const double area = static_cast<double>(target.width) * target.height;
    const double modeAspect = static_cast<double>(mode.width) / mode.height;
    const double modeArea = static_cast<double>(mode.width) * mode.height;
    return 10 * (1 - std::min(std::abs(modeAspect - aspect) / aspect, 1.0))
        + (1 - std::min(std::abs(modeArea / area - 1), 1.0));
}

} // namespace

CapsRef pickDeviceMode(const GstCaps *offered, FrameSize target)
{
    auto request = CapsRef::adopt(gst_caps_new_empty_simple("video/x-raw"));
    if (offered == nullptr) {
        return request;
    }
    double best = -1;
    std::optional<FrameSize> winner;
    for (guint index = 0; index < gst_caps_get_size(offered); ++index) {
        const auto size = modeSize(offered, index);
        if (size && score(*size, target) > best) {
            best = score(*size, target);
            winner = size;
        }
    }
    if (winner) {
        gst_caps_set_simple(request.get(),
            "width",
            G_TYPE_INT,
            winner->width,
            "height",
            G_TYPE_INT,
            winner->height,
            nullptr);
    }
    return request;
}

CapsRef pickDeviceMode(GstDevice *device, FrameSize target)
{
    const auto offered = CapsRef::adopt(device != nullptr ? gst_device_get_caps(device) : nullptr);
    return pickDeviceMode(offered.get(), target);
}

} // namespace nimbara
