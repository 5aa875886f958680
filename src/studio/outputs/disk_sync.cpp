#include "studio/outputs/disk_sync.h"

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace nimbara {

#ifdef Q_OS_LINUX
namespace {

/// To open a pipe would wait for its other end, or be taken for one.
bool isOnDisk(const QByteArray &path)
{
    struct stat what { };
    return stat(path.constData(), &what) == 0 && (S_ISREG(what.st_mode) || S_ISDIR(what.st_mode));
}

} // namespace
#endif

void bringToDisk([[maybe_unused]] const QString &path)
{
#ifdef Q_OS_LINUX
    const QByteArray name = path.toLocal8Bit();
    if (!isOnDisk(name)) {
        return;
    }
    const int file = open(name.constData(), O_RDONLY | O_CLOEXEC); // NOLINT: as it is
    if (file >= 0) {
        fsync(file);
        close(file);
    }
#endif
}

} // namespace nimbara
