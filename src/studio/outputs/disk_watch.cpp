#include "studio/outputs/disk_watch.h"

#include <QFileInfo>
#include <QStorageInfo>

namespace nimbara {

DiskWatch::Sample DiskWatch::lookAtDisk(const QString &path)
{
    const QFileInfo file(path);
    const QStorageInfo disk(file.path());
    return { disk.isValid() ? disk.bytesAvailable() : -1, file.isFile() ? file.size() : -1 };
}

void DiskWatch::watch(const QString &path)
{
    m_path = path;
    m_isWritten = true;
    m_look.abandon();
    m_sync.abandon();
    m_lookedAtUs = -spacingUs;
    m_syncedAtUs = -spacingUs;
}

std::int64_t DiskWatch::syncingUs(std::int64_t nowUs) const
{
    return m_sync.isUnderWay() && !m_sync.isReady() ? nowUs - m_syncedAtUs : 0;
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
    sync(nowUs);
    return sample;
}

void DiskWatch::sync(std::int64_t nowUs)
{
    if (m_sync.isReady()) {
        m_sync.take();
    }
    if (m_isWritten && !m_path.isEmpty() && !m_sync.isUnderWay()
        && nowUs - m_syncedAtUs >= spacingUs) {
        m_syncedAtUs = nowUs;
        m_sync.tryStart([sync = m_syncWith, path = m_path] { sync(path); });
    }
}

} // namespace nimbara
