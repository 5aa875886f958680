#pragma once

#include <QString>

#include <functional>

namespace nimbara {

/// Makes what was written into a file or folder reach its disk (fsync(2)). Waits for the disk: for
/// a background task. What cannot be opened, pipes and devices, and other systems than Linux, are
/// left alone.
void bringToDisk(const QString &path);

/// As `bringToDisk`. A seam: tests put a disk of their own in place.
using DiskSync = std::function<void(const QString &path)>;

} // namespace nimbara
