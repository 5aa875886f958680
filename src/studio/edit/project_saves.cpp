#include "studio/edit/project_saves.h"

#include "base/error.h"
#include "studio/edit/project_backups.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto farewell = 5s;
constexpr auto glance = 20ms;

/// What the file holds becomes a backup. Why not, when it cannot: the save goes on.
Message keepPresent(const QString &backups, const QString &path, const QByteArray &json)
{
    try {
        if (!backups.isEmpty()) {
            backUpProject(backups, path, json);
        }
        return {};
    } catch (const std::exception &error) {
        return errorMessage(error);
    }
}

} // namespace

ProjectSaves::~ProjectSaves()
{
    const auto deadline = std::chrono::steady_clock::now() + farewell;
    while (!m_files.empty() && std::chrono::steady_clock::now() < deadline) {
        static_cast<void>(m_files.front().writing.isReady(glance));
        poll();
    }
}

bool ProjectSaves::isSameFile(const QString &one, const QString &other)
{
    const auto whole
        = [](const QString &path) { return QDir::cleanPath(QFileInfo(path).absoluteFilePath()); };
    return whole(one) == whole(other);
}

void ProjectSaves::begin(File &file, Project project) const
{
    file.project = std::move(project);
    file.writing.start([path = file.path, held = file.project, backups = m_backupFolder] {
        const QByteArray json = toJson(held, QFileInfo(path).absolutePath());
        Message warning = keepPresent(backups, path, json);
        writeProjectFile(path, json);
        return warning;
    });
}

void ProjectSaves::save(const QString &path, Project project)
{
    for (File &file : m_files) {
        if (isSameFile(file.path, path)) {
            file.next = std::move(project);
            return;
        }
    }
    File file { path, {}, {}, {} };
    begin(file, std::move(project));
    m_files.push_back(std::move(file));
}

bool ProjectSaves::isSaving(const QString &path) const
{
    return std::any_of(m_files.begin(), m_files.end(), [&path](const File &file) {
        return isSameFile(file.path, path);
    });
}

QString ProjectSaves::placeOf(const Project &project) const
{
    const auto found = std::find_if(m_files.begin(), m_files.end(), [&project](const File &file) {
        return !differ(file.next ? *file.next : file.project, project);
    });
    return found != m_files.end() ? found->path : QString();
}

/// The result of a file that is done with; none while it is written, for the first time or again.
std::optional<ProjectSaves::Done> ProjectSaves::advance(File &file) const
{
    if (!file.writing.isReady()) {
        return std::nullopt;
    }
    Done done { file.path, {}, file.project, {} };
    try {
        if (file.next) {
            file.writing.abandon(); // what is written next is newer
            begin(file, *std::exchange(file.next, std::nullopt));
            return std::nullopt;
        }
        done.warning = file.writing.take();
    } catch (const std::exception &error) {
        done.failure = errorMessage(error);
    }
    return done;
}

std::vector<ProjectSaves::Done> ProjectSaves::poll()
{
    std::vector<Done> all;
    for (auto file = m_files.begin(); file != m_files.end();) {
        if (auto done = advance(*file)) {
            all.push_back(std::move(*done));
            file = m_files.erase(file);
        } else {
            ++file;
        }
    }
    return all;
}

} // namespace nimbara
