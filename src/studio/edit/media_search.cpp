#include "studio/edit/media_search.h"

#include "document/media_paths.h"

namespace nimbara {

void MediaSearch::setMissing(const QStringList &files)
{
    m_task.abandon();
    m_missing = files;
}

void MediaSearch::search(const QString &folder)
{
    m_task.abandon();
    m_task.start([folder, missing = m_missing] { return mendFrom(folder, missing); });
}

void MediaSearch::poll()
{
    if (!m_task.isReady()) {
        return;
    }
    const QHash<QString, QString> found = m_task.take();
    if (!found.isEmpty()) {
        m_document.apply(ReplaceFiles { found });
        const TransitionClip clip = m_document.project().transitionClip;
        m_document.setTransitionClip({ found.value(clip.path, clip.path), clip.cutMs });
    }
    m_missing.removeIf([&found](const QString &file) { return found.contains(file); });
    Q_EMIT finished(static_cast<int>(found.size()), static_cast<int>(m_missing.size()));
}

} // namespace nimbara
