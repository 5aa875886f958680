#pragma once

#include <chrono>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace nimbara {

/// One function on a thread of its own. Unlike `std::async`, letting go of it does not wait: what
/// hangs, such as a read from a network share that has gone away, holds up neither the program nor
/// its end. So the function must own all that it touches.
///
/// Everything but the function belongs to one thread.
template <typename Result> class BackgroundTask {
public:
    /// Begins; an earlier function is let go of. Throws `std::system_error` when the system has no
    /// thread left.
    template <typename Function> void start(Function function)
    {
        std::packaged_task<Result()> task(std::move(function));
        std::future<Result> result = task.get_future();
        std::thread(std::move(task)).detach();
        m_result = std::move(result);
    }

    /// The same for what can wait or be left out: false when the system has no thread left.
    template <typename Function> bool tryStart(Function function)
    {
        try {
            start(std::move(function));
        } catch (const std::system_error &) {
            m_result = {};
        }
        return m_result.valid();
    }

    /// Begun, and its result not yet taken.
    [[nodiscard]] bool isUnderWay() const { return m_result.valid(); }

    /// Whether the result is there after waiting at most so long.
    [[nodiscard]] bool isReady(
        std::chrono::milliseconds patience = std::chrono::milliseconds(0)) const
    {
        return m_result.valid() && m_result.wait_for(patience) == std::future_status::ready;
    }

    /// The result, or what the function threw. Only when it is ready.
    Result take() { return m_result.get(); }

    /// Lets go of the function, whatever it does.
    void abandon() { m_result = {}; }

private:
    std::future<Result> m_result;
};

} // namespace nimbara
