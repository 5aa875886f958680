#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "translation/pipeline/caption_lane.h"
#include "translation/pipeline/request_line.h"
#include "translation/service/language_service.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace nimbara {

/// The second language of a run. What was heard is translated once more, by requests over
/// connections of its own: whatever becomes of them holds nothing of the first language up, and a
/// key that is refused ends this one alone. It counts the phrases as the first one does.
///
/// Interface thread only; a callback may call `stop`. While it is off every call does nothing.
class SecondLanguage {
public:
    SecondLanguage(const Clock &clock, const ServiceProvider &provider);

    /// Begins a run into the language, by its name for the model. The key is trimmed.
    void start(const QString &key, const QString &language);
    /// Ends it. See `CaptionLane::close` for what is held.
    void stop();
    [[nodiscard]] bool isOn() const { return m_service->isOpen(); }

    [[nodiscard]] CaptionLane &lane() { return m_lane; }
    [[nodiscard]] const CaptionLane &lane() const { return m_lane; }

    /// A phrase was taken in, at the same time as by the first language.
    void take(std::int64_t phraseTimeMs);
    /// Its transcript was kept waiting.
    void waitFrom(std::int32_t sequence);
    /// The phrase has not been skipped.
    [[nodiscard]] bool isAwaited(std::int32_t sequence) const
    {
        return isOn() && m_lane.isAwaited(sequence);
    }
    /// Its transcript: `request` has number, times and text. What was skipped is not asked for.
    void translate(PhraseRequest request);
    /// There is none.
    void giveNothing(std::int32_t sequence);

    /// Does what time has made due. Call it every half second.
    void tick();

    /// The transcript of this phrase is still to come, and must be waited for.
    std::function<bool(std::int32_t sequence)> isOwed = [](std::int32_t) { return false; };
    /// An answer has come: the network is there.
    std::function<void()> reached = [] {};
    /// A translation is asked for.
    std::function<void()> asked = [] {};
    /// Gets what goes wrong, and in which language.
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};
    /// The run into this language has ended by itself, after its message.
    std::function<void()> ended = [] {};

private:
    void tell(const Message &message);
    void ask(const PhraseRequest &request);
    void handleFailure(const PhraseRequest &request, int status);
    void finish(std::int32_t sequence, const QString &text);
    void release();
    void giveUpUseless();
    void sendWaiting();

    const Clock &m_clock;
    std::unique_ptr<LanguageService> m_service;
    CaptionLane m_lane;
    RequestLine m_line; ///< while the network is away
    std::int32_t m_inFlight = 0;
};

} // namespace nimbara
