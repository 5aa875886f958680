#include "translation/pipeline/request_line.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t firstRetryMs = 1000;
constexpr std::int64_t lastRetryMs = 5000;

} // namespace

bool RequestLine::hasRoom() const
{
    return m_requests.size() < (m_isPatient ? maxPatient : maxWaiting);
}

void RequestLine::add(const PhraseRequest &request)
{
    m_requests[request.sequence] = request;
}

bool RequestLine::putBack(const PhraseRequest &request, std::int64_t nowMs, std::int64_t wallMs)
{
    // Requests that were under way together fail together: that is one failure.
    if (m_failures == 0 || nowMs >= m_retryAtMs) {
        const std::int64_t wait = firstRetryMs << std::min(m_failures, 4);
        m_retryAtMs = nowMs + std::min(wait, lastRetryMs);
        ++m_failures;
    }
    m_isPatient = true;
    if (wallMs - request.phraseTimeMs > maxAgeMs) {
        return false;
    }
    add(request);
    return true;
}

std::optional<PhraseRequest> RequestLine::take(std::int64_t nowMs, std::int32_t inFlight)
{
    const std::int32_t most = isAway() ? 1 : maxInFlight;
    if (inFlight >= most || (isAway() && nowMs < m_retryAtMs)) {
        return std::nullopt;
    }
    if (m_requests.empty()) {
        m_isPatient = m_isPatient && inFlight > 0;
        return std::nullopt;
    }
    return m_requests.extract(m_requests.begin()).mapped();
}

} // namespace nimbara
