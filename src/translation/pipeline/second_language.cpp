#include "translation/pipeline/second_language.h"

#include <utility>

namespace nimbara {

SecondLanguage::SecondLanguage(const Clock &clock, const ServiceProvider &provider)
    : m_clock(clock)
    , m_service(provider.makeService())
    , m_lane(clock, *m_service, Target::Second)
{
    m_service->statusChanged = [this](const Message &message) { tell(message); };
    m_service->ended = [this] {
        stop();
        ended();
    };
    m_lane.answered = [this](std::int32_t sequence, const QString &text) {
        m_line.setReached();
        reached();
        finish(sequence, text);
    };
    m_lane.failed
        = [this](const PhraseRequest &request, int code) { handleFailure(request, code); };
    m_lane.statusChanged = [this](const Message &message) { tell(message); };
}

void SecondLanguage::tell(const Message &message)
{
    statusChanged(Message::verbatim(m_lane.language() + QStringLiteral(": ")) + message);
}

void SecondLanguage::start(const QString &key, const QString &language)
{
    stop();
    m_service->open(key);
    m_lane.open(language);
    m_service->warmUp();
}

void SecondLanguage::stop()
{
    m_line.clear();
    m_inFlight = 0;
    m_lane.close();
    m_service->close();
}

void SecondLanguage::take(std::int64_t phraseTimeMs)
{
    if (isOn()) {
        m_lane.take(phraseTimeMs);
    }
}

void SecondLanguage::waitFrom(std::int32_t sequence)
{
    if (isOn()) {
        m_lane.waitFrom(sequence);
    }
}

void SecondLanguage::translate(PhraseRequest request)
{
    if (!isAwaited(request.sequence)) {
        return;
    }
    m_lane.remember(request);
    if (m_line.isAway()) {
        m_line.add(request);
        return;
    }
    ask(request);
}

void SecondLanguage::giveNothing(std::int32_t sequence)
{
    if (isOn()) {
        m_lane.store(sequence, {});
        release();
    }
}

void SecondLanguage::ask(const PhraseRequest &request)
{
    ++m_inFlight;
    asked();
    m_lane.ask(request);
}

/// As in the first language: what the service refuses is given up, what the network lost is sent
/// again, while it is of use.
void SecondLanguage::handleFailure(const PhraseRequest &request, int status)
{
    if (status == 0 && m_lane.isAwaited(request.sequence)
        && m_line.putBack(request, m_clock.monotonicUs() / 1000, m_clock.wallMs())) {
        --m_inFlight;
        m_lane.waitFrom(request.sequence);
        return;
    }
    if (status != 0) {
        m_line.setReached();
    }
    m_lane.forget(request.text);
    finish(request.sequence, {});
}

void SecondLanguage::finish(std::int32_t sequence, const QString &text)
{
    --m_inFlight;
    m_lane.store(sequence, text);
    release();
    sendWaiting();
}

void SecondLanguage::release()
{
    const std::int32_t next = m_lane.awaited();
    m_lane.release(!m_line.holds(next) && !isOwed(next));
}

void SecondLanguage::giveUpUseless()
{
    for (const PhraseRequest &request : m_line.takeUseless(m_clock.wallMs())) {
        m_lane.forget(request.text);
        m_lane.store(request.sequence, {});
    }
}

void SecondLanguage::sendWaiting()
{
    giveUpUseless();
    while (isOn()) {
        const auto request = m_line.take(m_clock.monotonicUs() / 1000, m_inFlight);
        if (!request) {
            return;
        }
        m_lane.waitFrom(request->sequence);
        ask(*request);
    }
}

void SecondLanguage::tick()
{
    giveUpUseless();
    release();
    sendWaiting();
}

} // namespace nimbara
