#include "translation/pipeline/phrase_order.h"
namespace nimbara {

std::int32_t PhraseOrder::take(std::int64_t phraseTimeMs)
{
    m_phraseTimes[m_nextSequence] = phraseTimeMs;
    return m_nextSequence++;
}

void PhraseOrder::store(std::int32_t sequence, const QString &text)
{
    if (sequence >= m_nextRelease) {
        m_results[sequence] = text;
    }
}

bool PhraseOrder::skipLate(std::int64_t nowMs)
{
    if (m_results.empty() || m_results.contains(m_nextRelease)) {
        return false;
    }
    const auto time = m_phraseTimes.find(m_nextRelease);
    if (time == m_phraseTimes.end()) {
        return false;
    }
    const auto more = m_waitFrom.find(m_nextRelease);
    const std::int64_t from = more == m_waitFrom.end() ? time->second : more->second;
    if (nowMs - from <= patienceMs) {
        return false;
    }
    m_phraseTimes.erase(time);
    m_waitFrom.erase(m_nextRelease);
    ++m_nextRelease;
    return true;
}

std::optional<PhraseOrder::Released> PhraseOrder::next()
{
    const auto result = m_results.extract(m_nextRelease);
    if (result.empty()) {
        return std::nullopt;
    }
    const auto time = m_phraseTimes.extract(m_nextRelease);
    m_waitFrom.erase(m_nextRelease);
    ++m_nextRelease;
    return Released { result.mapped().trimmed(), time.empty() ? 0 : time.mapped() };
}

} // namespace nimbara
