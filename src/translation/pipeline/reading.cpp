#include "translation/pipeline/reading.h"

#include <algorithm>
#include <utility>

namespace nimbara {

bool Reading::add(const QString &phrase)
{
    const QString text = reading::spokenText(phrase);
    if (text.isEmpty()) {
        return false;
    }
    const bool blank = !m_waiting.isEmpty() && reading::takesBlank(m_waiting);
    m_waiting += blank ? QLatin1Char(' ') + text : text;
    m_begins.push_back(m_waiting.size() - text.size());
    m_ends.push_back(m_waiting.size());
    return true;
}

Reading::Shown Reading::takeShown()
{
    return std::exchange(m_shown, {});
}

/// So many letters of what waited are shown.
void Reading::count(qsizetype taken)
{
    for (std::deque<qsizetype> *places : { &m_begins, &m_ends }) {
        for (qsizetype &place : *places) {
            place -= taken;
        }
    }
    while (!m_begins.empty() && m_begins.front() < 0) {
        m_begins.pop_front();
        ++m_shown.begun;
    }
    // A blank may have gone with the block.
    while (!m_ends.empty() && m_ends.front() <= 0) {
        m_ends.pop_front();
        ++m_shown.ended;
    }
}

std::int64_t Reading::backlogMs() const
{
    return reading::columns(m_waiting) * 1000LL / pace;
}

std::int64_t Reading::readMs(std::int32_t columns) const
{
    const std::int32_t perSecond = m_hurried ? hurriedPace : pace;
    return std::max(leastMs, (std::int64_t { columns } * 1000 + perSecond - 1) / perSecond);
}

bool Reading::advance(std::int64_t nowMs)
{
    const bool changed = step(nowMs);
    const std::int64_t backlog = backlogMs();
    if (backlog > calmBelowMs) {
        m_busyMs = nowMs;
    }
    m_hurried = backlog > hurryAboveMs || (m_hurried && nowMs - m_busyMs < calmAfterMs);
    return changed;
}

bool Reading::step(std::int64_t nowMs)
{
    const std::int64_t age = nowMs - m_shownMs;
    if (!m_block.isEmpty() && age < readMs(reading::columns(m_block))) {
        return false;
    }
    if (m_waiting.isEmpty()) {
        const bool expires = !m_block.isEmpty() && age >= lifetimeMs;
        if (expires) {
            m_block.clear();
        }
        return expires;
    }
    const reading::Cut cut = reading::takeBlock(m_waiting);
    m_block = cut.lines.join(QLatin1Char('\n'));
    const qsizetype taken = m_waiting.size() - cut.rest.size();
    m_waiting = cut.rest;
    count(taken);
    m_shownMs = nowMs;
    return true;
}

} // namespace nimbara
