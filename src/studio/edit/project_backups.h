#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <vector>

/// The last contents of every saved project, in the data folder: a folder for each project, named
/// after its absolute path, which it also holds in "path.txt". Functions on files: they belong on a
/// background task.
namespace nimbara {

constexpr int maxBackups = 10; ///< of each project

struct ProjectBackup {
    QString file; ///< a project file; its relative paths start at the folder of the project
    QDateTime time; ///< when these contents were saved
};

/// Keeps what the project file holds, but for logins in locations, before it is replaced; the
/// oldest backup goes when there are more than ten. Nothing is to be kept when there is no such
/// file, when the newest backup holds the same, or when `replacement` does. Throws `Error` when it
/// cannot be kept; the project file itself is never touched.
void backUpProject(const QString &folder,
    const QString &projectPath,
    const QByteArray &replacement);

/// The backups of a project, newest first. Read one with `readProjectFile`.
std::vector<ProjectBackup> projectBackups(const QString &folder, const QString &projectPath);

} // namespace nimbara
