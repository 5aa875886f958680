#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace nimbara {

/// What only the system can tell. A plain value; what it does not tell is none.
struct MachineFacts {
    std::optional<bool> clockIsSet; ///< by a time server
    std::optional<bool> onBattery;
    std::optional<std::int64_t> freeBytes;
};

/// Asks `org.freedesktop.timedate1` on the system bus, the power supplies below `powerFolder`
/// (sysfs-class-power of the kernel) and the disk of `folder`. On a background task: takes up to
/// 2 s. On other systems only the disk answers.
MachineFacts askMachine(const QString &folder,
    const QString &powerFolder = QStringLiteral("/sys/class/power_supply"));

} // namespace nimbara
