#include "media/capture/device_mode.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

constexpr int wantedRate = 30;

bool isSystemMemory(const GstCaps *caps, guint index)
{
    const GstCapsFeatures *features = gst_caps_get_features(caps, index);
    return features == nullptr
        || gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY) != FALSE;
}

std::optional<PictureCoding> codingOf(const GstStructure *mode)
{
    if (gst_structure_has_name(mode, "video/x-raw") != FALSE) {
        return PictureCoding::Raw;
    }
    if (gst_structure_has_name(mode, "image/jpeg") != FALSE) {
        return PictureCoding::Jpeg;
    }
    if (gst_structure_has_name(mode, "video/x-h264") != FALSE) {
        return PictureCoding::H264;
    }
    return std::nullopt;
}

/// Calls `take` with each value of a list, or with the single value; not at all without one.
template <typename Take> void forEachValue(const GValue *value, Take take)
{
    if (value == nullptr) {
        return;
    }
    if (!GST_VALUE_HOLDS_LIST(value)) {
        take(value);
        return;
    }
    for (guint index = 0; index < gst_value_list_get_size(value); ++index) {
        take(gst_value_list_get_value(value, index));
    }
}

/// The raw formats of a structure; one empty name where none is told and for coded pictures.
std::vector<QString> formatsOf(const GstStructure *mode, PictureCoding coding)
{
    const GValue *told = gst_structure_get_value(mode, "format");
    if (coding != PictureCoding::Raw || told == nullptr) {
        return { QString() };
    }
    std::vector<QString> formats;
    forEachValue(told, [&](const GValue *value) {
        const gchar *name = G_VALUE_HOLDS_STRING(value) ? g_value_get_string(value) : nullptr;
        if (name != nullptr && gst_video_format_from_string(name) != GST_VIDEO_FORMAT_UNKNOWN) {
            formats.push_back(QString::fromUtf8(name));
        }
    });
    return formats;
}

/// The lengths of one side: of a range those next to the target's side, and its end.
std::vector<std::int32_t> sidesOf(const GstStructure *mode, const char *field, std::int32_t target)
{
    std::vector<std::int32_t> sides;
    forEachValue(gst_structure_get_value(mode, field), [&](const GValue *value) {
        if (G_VALUE_HOLDS_INT(value)) {
            sides.push_back(g_value_get_int(value));
        } else if (GST_VALUE_HOLDS_INT_RANGE(value)) {
            const gint lowest = gst_value_get_int_range_min(value);
            const gint highest = gst_value_get_int_range_max(value);
            const gint step = gst_value_get_int_range_step(value);
            const gint near = std::clamp(target, lowest, highest);
            sides.push_back(lowest + (near - lowest) / step * step);
            sides.push_back(highest);
        }
    });
    std::erase_if(sides, [](std::int32_t side) { return side < 1; });
    return sides;
}

FrameRate rateOf(const GValue *fraction)
{
    return { gst_value_get_fraction_numerator(fraction),
        gst_value_get_fraction_denominator(fraction) };
}

std::vector<FrameRate> ratesOf(const GstStructure *mode)
{
    std::vector<FrameRate> rates;
    forEachValue(gst_structure_get_value(mode, "framerate"), [&](const GValue *value) {
        if (GST_VALUE_HOLDS_FRACTION(value)) {
            rates.push_back(rateOf(value));
        } else if (GST_VALUE_HOLDS_FRACTION_RANGE(value)) {
            const FrameRate slowest = rateOf(gst_value_get_fraction_range_min(value));
            const FrameRate fastest = rateOf(gst_value_get_fraction_range_max(value));
            const bool isWithin
                = slowest.perSecond() <= wantedRate && wantedRate <= fastest.perSecond();
            rates.push_back(isWithin                    ? FrameRate { wantedRate, 1 }
                    : fastest.perSecond() <= wantedRate ? fastest
                                                        : slowest);
        }
    });
    return rates.empty() ? std::vector { FrameRate {} } : rates;
}

void expand(const GstStructure *mode,
    PictureCoding coding,
    FrameSize target,
    std::vector<DeviceMode> &modes)
{
    for (const QString &format : formatsOf(mode, coding)) {
        for (const std::int32_t width : sidesOf(mode, "width", target.width)) {
            for (const std::int32_t height : sidesOf(mode, "height", target.height)) {
                for (const FrameRate &rate : ratesOf(mode)) {
                    modes.push_back({ coding, format, { width, height }, rate });
                }
            }
        }
    }
}

} // namespace

std::vector<DeviceMode> expandModes(const GstCaps *offered, FrameSize target)
{
    std::vector<DeviceMode> modes;
    const guint count = offered != nullptr ? gst_caps_get_size(offered) : 0;
    for (guint index = 0; index < count; ++index) {
        const GstStructure *mode = gst_caps_get_structure(offered, index);
        const auto coding = codingOf(mode);
        if (coding && isSystemMemory(offered, index)) {
            expand(mode, *coding, target, modes);
        }
    }
    return modes;
}

CapsRef modeCaps(const std::optional<DeviceMode> &mode)
{
    if (!mode) {
        return CapsRef::adopt(gst_caps_new_empty_simple("video/x-raw"));
    }
    const char *name = mode->coding == PictureCoding::Raw ? "video/x-raw"
        : mode->coding == PictureCoding::Jpeg             ? "image/jpeg"
                                                          : "video/x-h264";
    auto caps = CapsRef::adopt(gst_caps_new_empty_simple(name));
    if (!mode->format.isEmpty()) {
        const QByteArray format = mode->format.toUtf8();
        gst_caps_set_simple(caps.get(), "format", G_TYPE_STRING, format.constData(), nullptr);
    }
    gst_caps_set_simple(caps.get(),
        "width",
        G_TYPE_INT,
        mode->size.width,
        "height",
        G_TYPE_INT,
        mode->size.height,
        nullptr);
    if (mode->rate.isKnown()) {
        gst_caps_set_simple(caps.get(),
            "framerate",
            GST_TYPE_FRACTION,
            mode->rate.numerator,
            mode->rate.denominator,
            nullptr);
    }
    return caps;
}

} // namespace nimbara
