#include "studio/outputs/disk_watch.h"

#include "studio/outputs/disk_sync.h"

#include <QFileInfo>
#include <QStorageInfo>

namespace nimbara {

DiskWatch::Sample DiskWatch::lookAtDisk(const QString &path)
{
    const QFileInfo file(path);
    const QStorageInfo disk(file.path());
    const DiskWatch::Sample sample { disk.isValid() ? disk.bytesAvailable() : -1,
        file.isFile() ? file.size() : -1 };
    if (sample.fileBytes >= 0) {
        bringToDisk(path);
    }
    return sample;
}

void DiskWatch::watch(const QString &path)
{
    m_path = path;
    m_look.abandon();
    m_lookedAtUs = -spacingUs;
}

std::optional<DiskWatch::Sample> DiskWatch::poll(std::int64_t nowUs)
{
    std::optional<Sample> sample;
    if (m_look.isReady()) {
        sample = m_look.take();
    }
    if (!m_path.isEmpty() && !m_look.isUnderWay() && nowUs - m_lookedAtUs >= spacingUs) {
        m_lookedAtUs = nowUs;
        m_look.tryStart([look = m_lookAt, path = m_path] { return look(path); });
    }
    return sample;
}

} // namespace nimbara
