#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "signal/audio_block.h"
#include "translation/pipeline/seam_buffer.h"
#include "translation/service/language_service.h"

#include <QString>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nimbara {

/// Live sessions one behind the other, as one road for the voice. The service ends a session after
/// an hour, so a new one is opened before and takes the voice over in a pause of the speaker, once
/// it is confirmed; the old one stays until it has transcribed all it was given. A session that is
/// lost is replaced after 2, 4, 8, 16 and then every 30 seconds, and hands back what it had not
/// transcribed. Transcripts come in the order of the voice, each once.
///
/// Interface thread only; a callback may call `stop` or `start`.
class LiveRoad {
public:
    /// The age at which the next session is opened, in milliseconds: the service allows an hour.
    static constexpr std::int64_t renewAfterMs = 50LL * 60 * 1000;
    /// A next session that has waited so long for a pause takes over between any two words, and
    /// after twice that where a phrase ends, be it within a word.
    static constexpr std::int64_t pausePatienceMs = 60LL * 1000;
    /// What counts as a pause of the speaker, and as one between two words.
    static constexpr std::int32_t pauseMs = 300;
    static constexpr std::int32_t wordPauseMs = 50;
    /// A session that stood so long was a good one: the next loss begins with a short wait again.
    static constexpr std::int64_t goodAfterMs = 30LL * 1000;

    /// Both must outlive the road.
    LiveRoad(const Clock &clock, const ServiceProvider &provider);

    /// Ends every session and opens one. See `LiveSession::start`.
    void start(const QString &apiKey, const QString &language, const QString &prompt);

    /// For the sessions that there are, and for those that are opened from now on.
    void setPrompt(const QString &prompt);

    /// Ends every session without a callback and forgets the key.
    void stop();

    /// Does what time has made due. Call it every half second, and not from a callback.
    void tick();

    /// A session takes the voice.
    [[nodiscard]] bool isOpen() const { return m_current != nullptr; }

    /// No session takes the voice, and one is confirmed: `takeOver` it where no word is cut.
    [[nodiscard]] bool isReady() const;

    /// A session is being opened and not confirmed yet.
    [[nodiscard]] bool isOpening() const { return m_next && !m_next->live->isActive(); }

    /// From now on the voice goes to the session that is ready.
    void takeOver();

    /// Gives a block to the session that takes the voice.
    void push(const AudioBlock &block);

    std::function<void(const Message &message)> status = [](const Message &) {};
    /// Gets the text of the phrase being spoken so far.
    std::function<void(const QString &text)> partial = [](const QString &) {};
    /// Gets the text of a finished phrase. At a seam of two sessions it may have ended a while ago.
    std::function<void(const QString &text, const PhraseEnd &end, bool atSeam)> turn
        = [](const QString &, const PhraseEnd &, bool) {};
    /// A session is confirmed: `isReady` may have become true.
    std::function<void()> ready = [] {};
    /// Gets the voice that a lost session had not transcribed, oldest first. It comes before all
    /// that any session takes from now on.
    std::function<void(const std::deque<AudioBlock> &owed)> lost
        = [](const std::deque<AudioBlock> &) {};
    std::function<void()> unavailable = [] {}; ///< the live road is closed for now
    std::function<void()> refused = [] {}; ///< see `LiveSession::refused`

private:
    struct Session {
        std::unique_ptr<LiveSession> live;
        SeamBuffer owed; ///< what it was given and has not transcribed
        std::int64_t openedMs = 0;
        std::int64_t confirmedMs = 0;
        std::vector<std::pair<QString, PhraseEnd>> held; ///< until the one before it is done
        Message untold; ///< its last message that the operator does not need
    };
    using Owner = std::unique_ptr<Session>;

    void open();
    void connectSession(Session &session);
    void tell(Session &session, const Message &message);
    void takeTurn(Session &session, const QString &text, const PhraseEnd &end);
    void handleFailure(const Session &session, bool wasConnected);
    void loseCurrent();
    void loseLeaving();
    void retire(Owner &session);
    void releaseHeld();
    void letLeavingGo();
    void openDue();
    void relieveIfDue(bool phraseEnded);
    void waitForRetry();
    [[nodiscard]] std::int64_t nowMs() const { return m_clock.monotonicUs() / 1000; }

    const Clock &m_clock;
    const ServiceProvider &m_provider;
    QString m_apiKey; ///< empty: stopped, or the key is refused
    QString m_language;
    QString m_prompt;
    Owner m_leaving; ///< takes no voice any more and owes transcripts
    Owner m_current; ///< takes the voice
    Owner m_next; ///< being opened, or waiting for its moment
    std::vector<Owner> m_retired; ///< may be on the stack still
    std::uint32_t m_run = 0; ///< raised by every stop, and so by every start
    std::size_t m_failures = 0; ///< in a row
    std::int64_t m_retryAtMs = 0;
    bool m_phraseEnded = false; ///< with the last block
};

} // namespace nimbara
