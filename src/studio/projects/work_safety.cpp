#include "studio/projects/work_safety.h"

#include "base/error.h"
#include "document/project_file.h"

#include <QFileInfo>

#include <utility>

namespace nimbara {

WorkSafety::WorkSafety(const Clock &clock,
    Document &document,
    ProjectDesk &desk,
    const QString &folder)
    : m_document(document)
    , m_desk(desk)
    , m_folder(folder)
    , m_copy(folder, clock)
{
    if (folder.isEmpty()) {
        return;
    }
    connect(&document, &Document::changed, this, &WorkSafety::follow);
}

void WorkSafety::follow()
{
    if (m_document.hasUnsavedWork() && !m_quiet) {
        const QString path = m_desk.lastPath();
        const QString home = path.isEmpty() ? QString() : QFileInfo(path).absolutePath();
        m_copy.changed([project = m_document.project(), home] { return toJson(project, home); },
            path);
        m_kept = true;
    } else if (std::exchange(m_kept, false)) {
        m_copy.clean();
    }
}

void WorkSafety::giveUp()
{
    m_quiet = true;
    follow();
}

void WorkSafety::lookForWork()
{
    if (!m_folder.isEmpty()) {
        m_search.start([folder = m_folder] { return findRecoverable(folder); });
    }
}

void WorkSafety::recover()
{
    if (m_found.empty()) {
        return;
    }
    const RecoverableWork work = std::exchange(m_found, {}).front();
    m_desk.recoverProject(
        work.projectPath,
        [work](const QString &) { return takeRecoverable(work); },
        [this, work] {
            m_copy.adopt(work);
            follow();
        });
}

void WorkSafety::discard()
{
    if (m_found.empty()) {
        return;
    }
    const RecoverableWork work = std::move(m_found.front());
    m_found.erase(m_found.begin());
    try {
        discardRecoverable(work);
    } catch (const std::exception &error) {
        Q_EMIT failed(errorMessage(error));
    }
    offerNewest();
}

void WorkSafety::offerNewest()
{
    if (!m_found.empty()) {
        Q_EMIT found(m_found.front().projectPath, m_found.front().timeMs);
    }
}

void WorkSafety::poll()
{
    if (const auto text = m_copy.poll()) {
        Q_EMIT failed(*text);
    }
    if (!m_search.isReady()) {
        return;
    }
    RecoverySearch search = m_search.take();
    m_found = std::move(search.works);
    if (!search.damaged.isEmpty()) {
        Q_EMIT failed("No se pudo leer la copia de recuperación.");
    }
    offerNewest();
}

} // namespace nimbara
