#include "translation/pipeline/request_line.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t firstRetryMs = 1000;
constexpr std::int64_t lastRetryMs = 5000;

} // namespace

bool RequestLine::hasRoom() const
{
    return m_isPatient || m_requests.size() < maxWaiting;
}

void RequestLine::add(const PhraseRequest &request)
{
    m_requests[request.sequence] = request;
}

bool RequestLine::owesTranscript(std::int32_t sequence) const
{
    const auto request = m_requests.find(sequence);
    return request != m_requests.end() && request->second.text.isEmpty();
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
    if (isTooOld(request, wallMs)) {
        return false;
    }
    add(request);
    return true;
}

bool RequestLine::isTooOld(const PhraseRequest &request, std::int64_t wallMs)
{
    return wallMs - request.times.heard > maxAgeMs;
}

std::vector<PhraseRequest> RequestLine::takeUseless(std::int64_t wallMs)
{
    std::vector<PhraseRequest> useless;
    for (auto each = m_requests.begin(); each != m_requests.end();) {
        if (m_requests.size() > maxPatient || isTooOld(each->second, wallMs)) {
            useless.push_back(std::move(each->second));
            each = m_requests.erase(each);
        } else {
            ++each;
        }
    }
    return useless;
}

bool RequestLine::maySend(std::int64_t nowMs, std::int32_t inFlight) const
{
    const std::int32_t most = isAway() ? 1 : maxInFlight;
    return inFlight < most && (!isAway() || nowMs >= m_retryAtMs);
}

std::optional<PhraseRequest> RequestLine::take(std::int64_t nowMs, std::int32_t inFlight)
{
    if (!maySend(nowMs, inFlight)) {
        return std::nullopt;
    }
    if (m_requests.empty()) {
        m_isPatient = m_isPatient && (isAway() || inFlight > 0);
        return std::nullopt;
    }
    return m_requests.extract(m_requests.begin()).mapped();
}

std::optional<PhraseRequest> RequestLine::takeUpload(std::int64_t nowMs, std::int32_t uploading)
{
    const auto upload = std::find_if(m_requests.begin(), m_requests.end(), [](const auto &each) {
        return each.second.text.isEmpty();
    });
    if (upload == m_requests.end() || !maySend(nowMs, uploading)) {
        return std::nullopt;
    }
    return m_requests.extract(upload).mapped();
}

} // namespace nimbara
