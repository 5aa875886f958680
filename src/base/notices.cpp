#include "base/notices.h"

#include <algorithm>

namespace nimbara {

void Notices::raise(const Message &text)
{
    const bool stands = std::any_of(m_all.begin(), m_all.end(), [&](const Notice &notice) {
        return notice.text == text;
    });
    if (!stands) {
        m_all.push_back({ ++m_lastId, text });
        Q_EMIT changed();
    }
}

void Notices::settle(std::uint64_t id)
{
    if (std::erase_if(m_all, [id](const Notice &notice) { return notice.id == id; }) > 0) {
        Q_EMIT changed();
    }
}

void Notices::withdraw(const Message &text)
{
    if (std::erase_if(m_all, [&](const Notice &notice) { return notice.text == text; }) > 0) {
        Q_EMIT changed();
    }
}

} // namespace nimbara
