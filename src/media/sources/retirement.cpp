#include "media/sources/retirement.h"

#include <chrono>

namespace nimbara {

void Retirement::reap()
{
    const std::lock_guard lock(m_mutex);
    m_tasks.remove_if([](const std::future<void> &task) {
        return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
}

std::size_t Retirement::pending() const
{
    const std::lock_guard lock(m_mutex);
    return m_tasks.size();
}

} // namespace nimbara
