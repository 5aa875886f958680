#pragma once

#include <cstddef>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <system_error>

namespace nimbara {

/// Destroys pipelines on background tasks, because stopping one may block for seconds.
///
/// Callable from any thread. The tasks touch nothing but the object they destroy. The destructor
/// waits for the tasks that are still under way, so it must not run on one of them.
class Retirement {
public:
    /// Moves the object into a task that destroys it. An empty pointer is ignored.
    template <typename T> void retire(std::unique_ptr<T> object)
    {
        if (!object) {
            return;
        }
        try {
            auto task = std::async(std::launch::async,
                [held = std::move(object)]() mutable { held.reset(); });
            const std::lock_guard lock(m_mutex);
            m_tasks.push_back(std::move(task));
        } catch (const std::system_error &) {
            // The system has no thread left: the object went away right here, with the task.
        }
    }

    /// Collects the tasks that have finished, without waiting for the others.
    void reap();

    /// Tasks not yet collected.
    [[nodiscard]] std::size_t pending() const;

private:
    mutable std::mutex m_mutex;
    std::list<std::future<void>> m_tasks;
};

} // namespace nimbara
