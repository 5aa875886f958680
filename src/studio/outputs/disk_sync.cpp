#include "studio/outputs/disk_sync.h"

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace nimbara {

void bringToDisk([[maybe_unused]] const QString &path)
{
#ifdef Q_OS_LINUX
    const int file = open(path.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC); // NOLINT: as it is
    if (file >= 0) {
        fsync(file);
        close(file);
    }
#endif
}

} // namespace nimbara
