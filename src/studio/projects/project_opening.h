#pragma once

#include "base/background_task.h"
#include "document/project_file.h"
#include "media/sources/media_factory.h"
#include "studio/sources/login_desk.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace nimbara {

/// Brings one project in: its file is read and its pictures are decoded on a background task, then
/// its sources are started a few at a time. Interface thread only.
class ProjectOpening {
public:
    struct Opened {
        QString path;
        Project project;
        QHash<QString, FramePtr> pictures; ///< decoded, by path; none where that failed
        std::vector<std::pair<Layer, MediaPtr>> sources; ///< and the layer that asked for each
        QList<Message> warnings; ///< of what could not be decoded or opened
        QStringList missing; ///< files that are not there, each once
        bool hadLogins = false; ///< in its locations, which are without them now
    };
    using FileReader = std::function<QByteArray(const QString &path)>;

    /// `logins`: keeps the logins that a project of earlier days has in its locations.
    ProjectOpening(const MediaFactory &factory, LoginDesk &logins)
        : m_factory(factory)
        , m_logins(logins)
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
    /// Under way, however long.
    [[nodiscard]] bool isUnderWay() const { return m_opened || m_reading.isUnderWay(); }
    /// Lets go of what is under way.
    void cancel();

    /// One short step; the project once it is complete. Throws `Error` when it cannot be read, and
    /// is over then.
    std::optional<Opened> poll();

private:
    struct Read {
        Project project;
        QHash<QString, FramePtr> pictures;
        QHash<QString, Message> failures; ///< of pictures: why
        QStringList missing;
    };
    static Read
    readAll(const QString &path, const FileReader &read, const std::atomic<bool> &calledOff);
    void beginAttaching(Read read);
    void takeOutLogins();
    void attach(const Layer &layer);
    void warn(const Layer &layer, const Message &reason);
    [[nodiscard]] int sourcesUnderway();

    const MediaFactory &m_factory;
    LoginDesk &m_logins;
    QString m_path;
    BackgroundTask<Read> m_reading;
    std::shared_ptr<std::atomic<bool>> m_calledOff;
    std::optional<Opened> m_opened; ///< while its sources are started
    QHash<QString, Message> m_failures;
    std::vector<const Layer *> m_waiting; ///< of that project, the next one last
    QDeadlineTimer m_patience; ///< for the step under way
    int m_underway = 0; ///< sources that have neither started nor been refused
};

} // namespace nimbara
