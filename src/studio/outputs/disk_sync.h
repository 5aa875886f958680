#pragma once

#include <QString>

namespace nimbara {

/// Makes what was written into a file or folder reach its disk (fsync(2)). Waits for the disk: for
/// a background task. What cannot be opened, and other systems than Linux, are left alone.
void bringToDisk(const QString &path);

} // namespace nimbara
