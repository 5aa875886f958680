#pragma once

#include "base/background_task.h"
#include "base/message.h"
#include "document/project_file.h"

#include <QString>

#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace nimbara {

/// Writes project files on background tasks. A file that is asked for again while it is written is
/// written once more afterwards, with the newest project; a file that hangs holds up no other.
/// Interface thread only.
class ProjectSaves {
public:
    struct Done {
        QString path;
        Message failure; ///< empty when the file is saved
        Project project; ///< what was written
        Message warning; ///< when the file is saved but what it held before is not kept
    };

    /// `backupFolder`: where what a file held before is kept (`backUpProject`); empty keeps none.
    explicit ProjectSaves(QString backupFolder = {})
        : m_backupFolder(std::move(backupFolder))
    {
    }
    ProjectSaves(const ProjectSaves &) = delete;
    ProjectSaves &operator=(const ProjectSaves &) = delete;
    ProjectSaves(ProjectSaves &&) = delete;
    ProjectSaves &operator=(ProjectSaves &&) = delete;
    /// Waits for the files, but no longer than a few seconds.
    ~ProjectSaves();

    /// Whether both paths name one file. Asks no disk.
    [[nodiscard]] static bool isSameFile(const QString &one, const QString &other);

    void save(const QString &path, Project project);
    [[nodiscard]] bool isSaving(const QString &path) const;
    /// Any file.
    [[nodiscard]] bool isSaving() const { return !m_files.empty(); }
    /// The file into which this project is on its way; empty: none.
    [[nodiscard]] QString placeOf(const Project &project) const;

    /// The files that are done with since the last call. Never waits.
    std::vector<Done> poll();

private:
    struct File {
        QString path;
        Project project; ///< being written
        BackgroundTask<Message> writing; ///< gives the warning
        std::optional<Project> next;
    };
    void begin(File &file, Project project) const;
    std::optional<Done> advance(File &file) const;

    QString m_backupFolder;
    std::list<File> m_files; ///< being written
};

} // namespace nimbara
