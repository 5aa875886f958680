#pragma once

#include "base/background_task.h"
#include "base/clock.h"
#include "base/message.h"
#include "studio/edit/recovery_files.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// Keeps a recovery copy of unsaved work, for the start after a crash (`findRecoverable`). It is
/// written on a background task 2 s after the first change since the last write, one write at a
/// time, the newest state at each. Interface thread only; never waits, but at its end.
class RecoveryCopy {
public:
    /// Makes the project's JSON, on a background task; so it must own all that it touches.
    using JsonMaker = std::function<QByteArray()>;

    /// `folder`: where all instances keep their copies; made when it is missing. `clock` must live
    /// longer.
    RecoveryCopy(const QString &folder, const Clock &clock);
    RecoveryCopy(const RecoveryCopy &) = delete;
    RecoveryCopy &operator=(const RecoveryCopy &) = delete;
    RecoveryCopy(RecoveryCopy &&) = delete;
    RecoveryCopy &operator=(RecoveryCopy &&) = delete;
    /// Writes or removes what is still to be, but waits no longer than a few seconds. Work that was
    /// never declared `clean` stays, to be found by the next start.
    ~RecoveryCopy();

    /// The work has another state, not saved. `projectPath`: the operator's file, may be empty.
    void changed(JsonMaker json, const QString &projectPath);

    /// The work is saved or given up: the copy goes, and those adopted, even one that is being
    /// written right now.
    void clean();

    /// Work that was found is now this instance's. To be followed by `changed` with its state: its
    /// old copy goes when that state is written, so that another crash loses nothing.
    void adopt(RecoverableWork work);

    /// Call on every run of the frame clock. Why the copy cannot be kept, once until it can again.
    /// It is tried again by itself.
    std::optional<Message> poll();

    /// Nothing is to be written or removed.
    [[nodiscard]] bool isSettled() const { return !m_task.isUnderWay() && !m_next && !m_removal; }

private:
    struct State {
        JsonMaker json;
        QString projectPath;
        std::int64_t timeMs = 0;
    };
    void beginWriting();
    void beginRemoving();
    void succeeded();
    std::optional<Message> failed();
    std::optional<Message> tellOnce(const char *text);

    const Clock &m_clock;
    std::shared_ptr<RecoveryPlace> m_place; ///< used by the task while one is under way
    BackgroundTask<void> m_task;
    std::shared_ptr<std::atomic<bool>> m_calledOff; ///< of the last write
    std::optional<State> m_writing; ///< by the task, and still wanted
    std::optional<State> m_next; ///< to be written
    std::vector<RecoverableWork> m_adopted; ///< whose copies are still there
    std::size_t m_replaced = 0; ///< of them, by the task
    bool m_removal = false; ///< to be removed, once the task is over
    bool m_removing = false; ///< by the task
    bool m_leftTrace = false; ///< a copy may be there
    bool m_told = false;
    std::int64_t m_writeUs = 0; ///< when `m_next` is due
    std::int64_t m_removeUs = 0; ///< when the removal is due
    std::int64_t m_begunUs = 0; ///< when the task was
};

} // namespace nimbara
