#include "media/capture/device_mode.h"

#include "base/error.h"
#include "media/capture/picture_decoders.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

namespace nimbara {

namespace {

constexpr double wantedRate = 30;
/// 23.976 and 14.985 are what 24 and 15 are called on the wire.
constexpr double broadcastRate = 0.998;
constexpr double shapeTolerance = 0.01;

/// What a rate is worth: 4 for a picture in every frame, 0 for less than 15 a second.
int rateClass(const FrameRate &rate)
{
    if (!rate.isKnown()) {
        return 1;
    }
    const double perSecond = rate.perSecond();
    return perSecond >= wantedRate * 0.95 ? 4
        : perSecond >= 24 * broadcastRate ? 3
        : perSecond >= 15 * broadcastRate ? 2
                                          : 0;
}

bool hasShape(FrameSize size, FrameSize target)
{
    const double shape = static_cast<double>(size.width) / size.height;
    const double wanted = static_cast<double>(target.width) / target.height;
    return std::abs(shape - wanted) <= wanted * shapeTolerance;
}

/// Compares as the mode's worth does: the smaller, the better.
auto order(const DeviceMode &mode, FrameSize target)
{
    const int rate = rateClass(mode.rate);
    const bool covers = mode.size.width >= target.width && mode.size.height >= target.height;
    const double area = static_cast<double>(mode.size.width) * mode.size.height;
    const double perSecond = mode.rate.perSecond();
    return std::tuple { -rate,
        rate == 0 ? -perSecond : 0,
        !hasShape(mode.size, target),
        !covers,
        covers ? area : -area,
        mode.coding,
        rate == 4 ? std::abs(perSecond - wantedRate) : -perSecond };
}

bool isGrey(const DeviceMode &mode)
{
    return mode.format.startsWith(QLatin1String("GRAY"));
}

bool differsInRateAlone(const DeviceMode &one, const DeviceMode &other)
{
    return one.coding == other.coding && one.format == other.format && one.size == other.size;
}

void sortByWorth(std::vector<DeviceMode> &modes, FrameSize target)
{
    std::stable_sort(modes.begin(),
        modes.end(),
        [target](const DeviceMode &one, const DeviceMode &other) {
            return order(one, target) < order(other, target);
        });
}

/// Whether the device offers it, alone or in a range.
bool isOffered(const DeviceMode &mode, const GstCaps *offered)
{
    return offered != nullptr && gst_caps_can_intersect(offered, modeCaps(mode).get()) != FALSE;
}

} // namespace

std::vector<DeviceMode> rankModes(std::vector<DeviceMode> offered, FrameSize target)
{
    std::erase_if(offered, isGrey);
    sortByWorth(offered, target);
    std::vector<DeviceMode> ranked;
    for (const DeviceMode &mode : offered) {
        const bool isKnown = std::any_of(ranked.begin(),
            ranked.end(),
            [&mode](const DeviceMode &better) { return differsInRateAlone(better, mode); });
        if (!isKnown) {
            ranked.push_back(mode);
        }
    }
    return ranked;
}

std::vector<DeviceMode> modesToChoose(std::vector<DeviceMode> offered, FrameSize target)
{
    std::erase_if(offered, [](const DeviceMode &mode) { return !canDecode(mode.coding); });
    sortByWorth(offered, target);
    std::stable_partition(offered.begin(), offered.end(), std::not_fn(isGrey));
    return offered;
}

QString modeText(const DeviceMode &mode)
{
    QStringList parts { QStringLiteral("%1 × %2").arg(mode.size.width).arg(mode.size.height) };
    if (mode.rate.isKnown()) {
        parts << QString::number(mode.rate.perSecond(), 'g', 4) + QStringLiteral(" fps");
    }
    const QString coding = mode.coding == PictureCoding::Jpeg ? QStringLiteral("MJPEG")
        : mode.coding == PictureCoding::H264                  ? QStringLiteral("H.264")
                                                              : mode.format;
    if (!coding.isEmpty()) {
        parts << coding;
    }
    return parts.join(QStringLiteral(" · "));
}

std::vector<DeviceMode>
modesToTry(GstDevice *device, FrameSize target, const std::optional<DeviceMode> &wanted)
{
    const auto offered = CapsRef::adopt(gst_device_get_caps(device));
    const std::vector<DeviceMode> all = expandModes(offered.get(), target);
    std::vector<DeviceMode> modes = rankModes(all, target);
    if (wanted && isOffered(*wanted, offered.get())) {
        std::erase(modes, *wanted);
        modes.insert(modes.begin(), *wanted);
    }
    if (modes.empty() && !all.empty()) {
        throw Error(Message("La cámara solo ofrece imagen infrarroja"));
    }
    const std::size_t shown = modes.size();
    std::erase_if(modes, [](const DeviceMode &mode) { return !canDecode(mode.coding); });
    if (modes.empty() && shown > 0) {
        throw Error(Message("Falta componente de fuente multimedia"));
    }
    modes.resize(std::min(modes.size(), maxModesTried));
    return modes;
}

} // namespace nimbara
