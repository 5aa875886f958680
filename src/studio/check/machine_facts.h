#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace nimbara {

/// What only the system can tell. A plain value; what it does not tell is none.
struct MachineFacts {
    std::optional<bool> clockIsSet; ///< by a time server
    std::optional<bool> onBattery;
};

/// Asks `org.freedesktop.timedate1` on the system bus and the power supplies below `powerFolder`
/// (sysfs-class-power of the kernel). On a background task: takes up to 2 s. On other systems
/// nothing answers.
MachineFacts askMachine(const QString &powerFolder = QStringLiteral("/sys/class/power_supply"));

/// The room in bytes for this user on the disk of the folder, which may be still to come. On a
/// background task of its own: a disk that hangs never answers.
std::optional<std::int64_t> askDisk(const QString &folder);

} // namespace nimbara
