#pragma once

#include "base/background_task.h"
#include "document/project_resources.h"
#include "media/sources/media_factory.h"

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace nimbara {

/// Brings one project in: its file is read and its pictures are decoded on a background task, then
/// its sources are started a few at a time. Interface thread only.
class ProjectOpening {
public:
    struct Opened {
        QString path;
        Project project; ///< with pictures and sources
        QStringList warnings;
    };
    using FileReader = std::function<QByteArray(const QString &path)>;

    explicit ProjectOpening(const MediaFactory &factory)
        : m_factory(factory)
    {
    }
    ProjectOpening(const ProjectOpening &) = delete;
    ProjectOpening &operator=(const ProjectOpening &) = delete;
    ProjectOpening(ProjectOpening &&) = delete;
    ProjectOpening &operator=(ProjectOpening &&) = delete;
    /// Gives the background task a moment to notice that it is not wanted any more.
    ~ProjectOpening();

    /// Begins; what was under way is let go of.
    void start(const QString &path, const FileReader &read);

    /// Under way and not given up: a file that does not come within 10 s bars no other.
    [[nodiscard]] bool bars() const;

    /// One short step; the project once it is complete. Throws `Error` when it cannot be read, and
    /// is over then.
    std::optional<Opened> poll();

private:
    struct Read {
        Project project;
        ImageLoader images;
    };
    void beginAttaching(Read read);
    [[nodiscard]] int sourcesUnderway();

    const MediaFactory &m_factory;
    QString m_path;
    BackgroundTask<Read> m_reading;
    std::shared_ptr<std::atomic<bool>> m_calledOff;
    std::optional<ResourceAttachment> m_attachment;
    QDeadlineTimer m_patience; ///< for the step under way
    int m_underway = 0; ///< sources that have neither started nor been refused
};

} // namespace nimbara
