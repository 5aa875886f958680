#include "translation/pipeline/caption_hold.h"

#include <algorithm>
#include <utility>

namespace nimbara {

void CaptionHold::setDelay(std::int64_t ms)
{
    m_delayMs = std::clamp<std::int64_t>(ms, 0, longestMs);
}

void CaptionHold::add(const Caption &caption, std::int64_t phraseTimeMs, std::int64_t nowMs)
{
    m_waiting.push_back({ ++m_lastId, caption, phraseTimeMs, nowMs });
}

std::deque<CaptionHold::Held>::iterator CaptionHold::find(std::int64_t id)
{
    return std::find_if(m_waiting.begin(), m_waiting.end(), [id](const Held &held) {
        return held.id == id;
    });
}

void CaptionHold::edit(std::int64_t id, std::int64_t nowMs)
{
    if (const auto held = find(id); held != m_waiting.end()) {
        m_edited = id;
        held->editedMs = held->editedMs.value_or(nowMs);
    }
}

void CaptionHold::leave(std::int64_t id)
{
    if (m_edited == id) {
        m_edited = 0;
    }
}

void CaptionHold::change(std::int64_t id, const QString &text)
{
    const QString changed = text.trimmed();
    if (changed.isEmpty()) {
        drop(id);
        return;
    }
    leave(id);
    if (const auto held = find(id); held != m_waiting.end()) {
        held->caption.text = changed;
    }
}

void CaptionHold::drop(std::int64_t id)
{
    leave(id);
    if (const auto held = find(id); held != m_waiting.end()) {
        m_waiting.erase(held);
    }
}

std::optional<CaptionHold::Held> CaptionHold::take(std::int64_t nowMs)
{
    if (m_waiting.empty()) {
        return std::nullopt;
    }
    Held &next = m_waiting.front();
    const bool isEdited = next.id == m_edited;
    if (isEdited ? nowMs - next.editedMs.value_or(nowMs) < editMs
                 : nowMs - next.sinceMs < m_delayMs) {
        return std::nullopt;
    }
    next.wasLeft = isEdited;
    leave(next.id);
    Held held = std::move(next);
    m_waiting.pop_front();
    return held;
}

std::deque<CaptionHold::Held> CaptionHold::takeAll()
{
    m_edited = 0;
    return std::exchange(m_waiting, {});
}

} // namespace nimbara
