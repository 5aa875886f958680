#pragma once

#include <QString>

#include <cstddef>
#include <vector>

namespace nimbara {

/// What tells a capture device from others, as the system names it; what it does not tell is
/// empty. A plain value.
struct DeviceIdentity {
    QString name; ///< for the operator
    QString vendor; ///< number or name
    QString product; ///< number or name
    QString serial;
    QString path; ///< the port that it is plugged into
    QString node; ///< the media service's name of it
    /// One just like it was there when it was chosen: nothing but its port and node tell it.
    bool hasTwin = false;
    bool operator==(const DeviceIdentity &) const = default;
};

/// For every wanted device the places in `present` of those that may be it: none when it is away,
/// several when the operator has to say which.
///
/// In this order: a serial number that only one has, the port, the node's name, else the only one
/// of its product that is nobody else's. A device with another serial number is another device, and
/// one that has a twin is never found at another port.
std::vector<std::vector<std::size_t>> matchDevices(const std::vector<DeviceIdentity> &wanted,
    const std::vector<DeviceIdentity> &present);

/// The device at that place among those present as it is to be remembered.
DeviceIdentity rememberedAs(const std::vector<DeviceIdentity> &present, std::size_t place);

/// As text for a project: a JSON object without what is empty, always alike; empty for no device.
QString identityText(const DeviceIdentity &identity);
/// The other way round; whatever is no such text is a device without a name.
DeviceIdentity identityFrom(const QString &text);

} // namespace nimbara
