#pragma once

#include "base/background_task.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace nimbara {

/// What the disk says of a file that is being written. Looked at on a background task, since a disk
/// may hang; at the same time what was written is made to reach the disk (fsync(2)), so that a
/// power cut takes little with it. Interface thread only; nothing waits.
class DiskWatch {
public:
    static constexpr std::int64_t spacingUs = 1'000'000;

    struct Sample {
        std::int64_t freeBytes = -1; ///< for this user, on its disk; −1: unknown
        std::int64_t fileBytes = -1; ///< −1: there is none
    };

    /// Looks at the disk of a file, on a background task.
    using Look = std::function<Sample(const QString &path)>;

    explicit DiskWatch(Look look = lookAtDisk)
        : m_lookAt(std::move(look))
    {
    }

    static Sample lookAtDisk(const QString &path);

    /// From now on this file; empty: none.
    void watch(const QString &path);

    /// A look is under way: the disk has not answered yet.
    [[nodiscard]] bool isLooking() const { return m_look.isUnderWay(); }

    /// The newest look, once. Begins the next one when it is time and the last one is back.
    std::optional<Sample> poll(std::int64_t nowUs);

private:
    Look m_lookAt;
    QString m_path;
    BackgroundTask<Sample> m_look;
    std::int64_t m_lookedAtUs = -spacingUs;
};

} // namespace nimbara
