#pragma once

#include "base/background_task.h"
#include "studio/outputs/disk_sync.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace nimbara {

/// What the disk says of a file that is being written. Looked at on a background task, since a disk
/// may hang; on another one what was written is made to reach the disk, so that a power cut takes
/// little with it. That may take long on a disk that is well, while something else is copied there.
/// Interface thread only; nothing waits.
class DiskWatch {
public:
    static constexpr std::int64_t spacingUs = 1'000'000;

    struct Sample {
        std::int64_t freeBytes = -1; ///< for this user, on its disk; −1: unknown
        std::int64_t fileBytes = -1; ///< −1: there is none
    };

    /// Looks at the disk of a file, on a background task.
    using Look = std::function<Sample(const QString &path)>;

    explicit DiskWatch(Look look = lookAtDisk, DiskSync sync = bringToDisk)
        : m_lookAt(std::move(look))
        , m_syncWith(std::move(sync))
    {
    }

    static Sample lookAtDisk(const QString &path);

    /// From now on this file, which is being written.
    void watch(const QString &path);
    /// It is not written any more: the room on its disk alone is of interest.
    void rest() { m_isWritten = false; }

    /// A look is under way: the disk has not answered yet.
    [[nodiscard]] bool isLooking() const { return m_look.isUnderWay(); }
    /// For how long what was written has been on its way to the disk; 0: it is there.
    [[nodiscard]] std::int64_t syncingUs(std::int64_t nowUs) const;

    /// The newest look, once. Begins the next one when it is time and the last one is back.
    std::optional<Sample> poll(std::int64_t nowUs);

private:
    void sync(std::int64_t nowUs);

    Look m_lookAt;
    DiskSync m_syncWith;
    QString m_path;
    bool m_isWritten = false;
    BackgroundTask<Sample> m_look;
    BackgroundTask<void> m_sync;
    std::int64_t m_lookedAtUs = -spacingUs;
    std::int64_t m_syncedAtUs = -spacingUs;
};

} // namespace nimbara
