#include "translation/pipeline/live_road.h"

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

constexpr std::array<std::int64_t, 5> retryMs { 2000, 4000, 8000, 16000, 30000 };

} // namespace

LiveRoad::LiveRoad(const Clock &clock, const ServiceProvider &provider)
    : m_clock(clock)
    , m_provider(provider)
{
}

void LiveRoad::start(const QString &apiKey, const QString &language, const QString &prompt)
{
    stop();
    m_apiKey = apiKey;
    m_language = language;
    m_prompt = prompt;
    open();
}

void LiveRoad::setPrompt(const QString &prompt)
{
    m_prompt = prompt;
    for (const Owner *session : { &m_current, &m_next }) {
        if (*session) {
            (*session)->live->setPrompt(prompt);
        }
    }
}

void LiveRoad::stop()
{
    ++m_run;
    m_apiKey.clear();
    m_failures = 0;
    m_retryAtMs = 0;
    for (Owner *session : { &m_leaving, &m_current, &m_next }) {
        retire(*session);
    }
}

/// A session may be in one of its own callbacks now: it is destroyed later.
void LiveRoad::retire(Owner &session)
{
    if (session) {
        session->live->stop();
        m_retired.push_back(std::move(session));
    }
}

void LiveRoad::open()
{
    m_next = std::make_unique<Session>();
    m_next->live = m_provider.makeLiveSession();
    m_next->openedMs = nowMs();
    connectSession(*m_next);
    m_next->live->start(m_apiKey, m_language, m_prompt);
}

void LiveRoad::connectSession(Session &session)
{
    Session *s = &session;
    LiveSession &live = *s->live;
    live.status = [this, s](const Message &message) { tell(*s, message); };
    live.partial = [this, s](const QString &text) {
        if (s == m_current.get()) {
            partial(text);
        }
    };
    live.turn = [this, s](const QString &text, const PhraseEnd &end) { takeTurn(*s, text, end); };
    live.phraseEnded = [this, s] {
        s->owed.endPhrase();
        m_phraseEnded = m_phraseEnded || s == m_current.get();
    };
    live.phraseDone = [s] { s->owed.phraseDone(); };
    live.confirmed = [this, s] {
        s->confirmedMs = nowMs();
        ready();
    };
    live.unavailable = [this, s](bool wasConnected) { handleFailure(*s, wasConnected); };
    live.refused = [this, s] {
        const std::uint32_t run = m_run;
        if (!s->untold.isEmpty()) {
            status(s->untold);
        }
        if (run == m_run) {
            refused();
        }
    };
}

/// The operator hears of the session that takes the voice, of the first one while it is tried, and
/// of the one that brings the live road back. A renewal, and the attempts in between, are no news,
/// unless the key is refused.
void LiveRoad::tell(Session &session, const Message &message)
{
    const bool isFirst = m_failures == 0 && m_current == nullptr;
    const bool isBack = m_current == nullptr && session.live->isActive();
    if (&session == m_current.get() || (&session == m_next.get() && (isFirst || isBack))) {
        session.untold = {};
        status(message);
    } else {
        session.untold = message;
    }
}

void LiveRoad::takeTurn(Session &session, const QString &text, const PhraseEnd &end)
{
    if (&session != m_leaving.get() && m_leaving) {
        session.held.emplace_back(text, end);
    } else {
        turn(text, end, m_leaving != nullptr);
    }
}

void LiveRoad::releaseHeld()
{
    const std::uint32_t run = m_run;
    if (!m_current) {
        return;
    }
    for (const auto &[text, end] : std::exchange(m_current->held, {})) {
        turn(text, end, true);
        if (run != m_run) {
            return;
        }
    }
}

bool LiveRoad::isReady() const
{
    return !m_current && m_next && m_next->live->isActive();
}

void LiveRoad::takeOver()
{
    m_current = std::move(m_next);
}

void LiveRoad::push(const AudioBlock &block)
{
    const Session *session = m_current.get();
    m_phraseEnded = false;
    m_current->owed.add(block);
    m_current->live->pushAudio(block);
    if (session == m_current.get()) {
        relieveIfDue(m_phraseEnded);
    }
}

/// Lets the next session take the voice from the current one, between two words.
void LiveRoad::relieveIfDue(bool phraseEnded)
{
    if (!m_next || !m_next->live->isActive() || m_leaving) {
        return;
    }
    const std::int64_t waitedMs = nowMs() - m_next->confirmedMs;
    const std::int32_t enough = waitedMs > pausePatienceMs ? wordPauseMs : pauseMs;
    if (m_current->live->pauseMs() < enough && !(phraseEnded && waitedMs > 2 * pausePatienceMs)) {
        return;
    }
    m_leaving = std::move(m_current);
    m_current = std::move(m_next);
    m_failures = 0;
    m_leaving->live->finish();
}

void LiveRoad::tick()
{
    m_retired.clear();
    // Each may find that its session is lost, and that changes all three.
    for (const Owner *owner : { &m_leaving, &m_current, &m_next }) {
        if (*owner) {
            (*owner)->live->checkAnswer();
        }
    }
    letLeavingGo();
    openDue();
}

void LiveRoad::letLeavingGo()
{
    if (m_leaving && m_leaving->live->isSettled()) {
        retire(m_leaving);
        releaseHeld();
    }
}

void LiveRoad::openDue()
{
    const bool isDue = !m_current || nowMs() - m_current->openedMs >= renewAfterMs;
    if (!m_apiKey.isEmpty() && !m_next && !m_leaving && isDue && nowMs() >= m_retryAtMs) {
        open();
    }
}

void LiveRoad::waitForRetry()
{
    m_retryAtMs = nowMs() + retryMs.at(std::min(m_failures, retryMs.size() - 1));
    ++m_failures;
}

void LiveRoad::handleFailure(const Session &session, bool wasConnected)
{
    const std::uint32_t run = m_run;
    if (session.live->isKeyRejected()) {
        m_apiKey.clear();
        // No session follows: that is news, whichever was refused.
        if (!session.untold.isEmpty()) {
            status(session.untold);
        }
        if (run != m_run) {
            return;
        }
    }
    if (&session == m_leaving.get()) {
        loseLeaving();
        return;
    }
    const bool isFirst = m_failures == 0 && !m_current;
    if (&session == m_current.get()) {
        loseCurrent();
    } else if (&session == m_next.get()) {
        retire(m_next);
        waitForRetry();
        if (!isFirst || !wasConnected) {
            return;
        }
    }
    if (run == m_run) {
        unavailable();
    }
}

void LiveRoad::loseLeaving()
{
    const std::uint32_t run = m_run;
    const std::deque<AudioBlock> owed = m_leaving->owed.take();
    retire(m_leaving);
    lost(owed);
    if (run == m_run) {
        releaseHeld();
    }
}

void LiveRoad::loseCurrent()
{
    const std::uint32_t run = m_run;
    if (m_leaving) {
        loseLeaving();
        if (run != m_run) {
            return;
        }
    }
    if (nowMs() - m_current->openedMs >= goodAfterMs) {
        m_failures = 0;
    }
    const std::deque<AudioBlock> owed = m_current->owed.take();
    retire(m_current);
    // One that is being opened already is the next attempt.
    if (!m_next) {
        waitForRetry();
    }
    lost(owed);
}

} // namespace nimbara
