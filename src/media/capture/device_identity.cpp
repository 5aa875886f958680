#include "media/capture/device_identity.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace nimbara {

namespace {

using Places = std::vector<std::size_t>;

bool isOneProduct(const DeviceIdentity &one, const DeviceIdentity &other)
{
    const bool isNumbered = !one.product.isEmpty() && !other.product.isEmpty();
    return isNumbered ? one.vendor == other.vendor && one.product == other.product
                      : one.name == other.name;
}

/// A port or serial number that both have and that differs.
bool differ(const QString &one, const QString &other)
{
    return !one.isEmpty() && !other.isEmpty() && one != other;
}

bool isCertain(const QString &one, const QString &other)
{
    return !one.isEmpty() && one == other;
}

Places those(const Places &from, const std::function<bool(std::size_t)> &fits)
{
    Places found;
    std::copy_if(from.begin(), from.end(), std::back_inserter(found), fits);
    return found;
}

/// All of its product that may be it.
Places candidates(const DeviceIdentity &wanted, const std::vector<DeviceIdentity> &present)
{
    Places found;
    for (std::size_t place = 0; place < present.size(); ++place) {
        if (isOneProduct(wanted, present[place]) && !differ(wanted.serial, present[place].serial)) {
            found.push_back(place);
        }
    }
    return found;
}

/// By serial number, port and node; those that are left when two have the same of each.
Places certain(const DeviceIdentity &wanted,
    const std::vector<DeviceIdentity> &present,
    const Places &from)
{
    Places serial = those(from,
        [&](std::size_t place) { return isCertain(wanted.serial, present[place].serial); });
    if (serial.size() == 1 && !wanted.hasTwin) {
        return serial;
    }
    Places port = those(from,
        [&](std::size_t place) { return isCertain(wanted.path, present[place].path); });
    if (port.size() == 1) {
        return port;
    }
    // Two sensors in one case share the port.
    const Places node = those(port.empty() ? from : port, [&](std::size_t place) {
        return isCertain(wanted.node, present[place].node)
            && !differ(wanted.path, present[place].path);
    });
    return node.empty() ? port : node;
}

struct Key {
    const char *name;
    QString DeviceIdentity::*member;
};
constexpr std::array<Key, 6> keys { {
    { "name", &DeviceIdentity::name },
    { "vendor", &DeviceIdentity::vendor },
    { "product", &DeviceIdentity::product },
    { "serial", &DeviceIdentity::serial },
    { "path", &DeviceIdentity::path },
    { "node", &DeviceIdentity::node },
} };
constexpr const char *twinKey = "twin";

} // namespace

std::vector<std::vector<std::size_t>> matchDevices(const std::vector<DeviceIdentity> &wanted,
    const std::vector<DeviceIdentity> &present)
{
    std::vector<Places> found;
    Places taken;
    found.reserve(wanted.size());
    for (const DeviceIdentity &each : wanted) {
        found.push_back(certain(each, present, candidates(each, present)));
        if (found.back().size() == 1) {
            taken.push_back(found.back().front());
        }
    }
    for (std::size_t at = 0; at < wanted.size(); ++at) {
        if (found[at].empty() && !wanted[at].hasTwin) {
            found[at] = those(candidates(wanted[at], present), [&](std::size_t place) {
                return std::find(taken.begin(), taken.end(), place) == taken.end();
            });
        }
    }
    return found;
}

DeviceIdentity rememberedAs(const std::vector<DeviceIdentity> &present, std::size_t place)
{
    DeviceIdentity identity = present.at(place);
    for (std::size_t other = 0; other < present.size(); ++other) {
        const DeviceIdentity &one = present[other];
        identity.hasTwin = identity.hasTwin
            || (other != place && isOneProduct(identity, one)
                && !differ(identity.serial, one.serial));
    }
    return identity;
}

QString identityText(const DeviceIdentity &identity)
{
    if (identity == DeviceIdentity {}) {
        return {};
    }
    QJsonObject object;
    for (const auto &[name, member] : keys) {
        if (!(identity.*member).isEmpty()) {
            object[QLatin1String(name)] = identity.*member;
        }
    }
    if (identity.hasTwin) {
        object[QLatin1String(twinKey)] = true;
    }
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

DeviceIdentity identityFrom(const QString &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
    DeviceIdentity identity;
    for (const auto &[name, member] : keys) {
        identity.*member = object.value(QLatin1String(name)).toString();
    }
    identity.hasTwin = object.value(QLatin1String(twinKey)).toBool();
    return identity;
}

} // namespace nimbara
