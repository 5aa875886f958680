#pragma once

#include "base/message.h"
#include "signal/audio_block.h"

#include <QString>

#include <cstdint>
#include <functional>

namespace nimbara {

/// The end of a phrase, in milliseconds since the epoch.
struct PhraseEnd {
    std::int64_t spokenMs = 0; ///< its last voiced sample
    std::int64_t heardMs = 0; ///< when it was found
    std::int64_t phraseTimeMs = 0; ///< `spokenMs`, or when the server told of the end
};

/// A live session of a service: takes the voice and reports the text while it is spoken.
///
/// Idle → connecting (`start`) → active (the service is ready). Any failure leads back to idle with
/// `unavailable`; there is no reconnection: `LiveRoad` opens the next session. Interface thread
/// only; a callback may call `stop` or `start`.
class LiveSession {
public:
    LiveSession() = default;
    LiveSession(const LiveSession &) = delete;
    LiveSession &operator=(const LiveSession &) = delete;
    LiveSession(LiveSession &&) = delete;
    LiveSession &operator=(LiveSession &&) = delete;
    virtual ~LiveSession() = default;

    /// Ends any session and begins one. `language` is the source language code or empty, `prompt`
    /// what helps to hear: terms and names.
    virtual void start(const QString &apiKey, const QString &language, const QString &prompt) = 0;

    /// Other terms and names, from the next phrase on.
    virtual void setPrompt(const QString &prompt) = 0;

    /// Ends the session without a callback and forgets the key.
    virtual void stop() = 0;

    /// Streams one block; ignored unless active.
    virtual void pushAudio(const AudioBlock &block) = 0;

    /// No audio follows: what was said and has not ended a phrase is one, too, however short.
    virtual void finish() = 0;

    /// After `finish`: every phrase is transcribed.
    [[nodiscard]] virtual bool isSettled() const = 0;

    /// Fails a session whose service does not answer. Call it now and then.
    virtual void checkAnswer() = 0;

    /// How long the audio that it was given has been silent.
    [[nodiscard]] virtual std::int32_t pauseMs() const = 0;

    /// The service has refused the key of the last session: the next one would be refused, too.
    [[nodiscard]] virtual bool isKeyRejected() const = 0;

    /// The session takes audio.
    [[nodiscard]] virtual bool isActive() const = 0;

    std::function<void(const Message &message)> status = [](const Message &) {};
    /// Gets the text of the phrase being spoken so far.
    std::function<void(const QString &text)> partial = [](const QString &) {};
    /// Gets the text of a finished phrase.
    std::function<void(const QString &text, const PhraseEnd &end)> turn
        = [](const QString &, const PhraseEnd &) {};
    /// The audio given so far ends a phrase.
    std::function<void()> phraseEnded = [] {};
    /// The earliest phrase that ended is transcribed, perhaps as nothing, or answered with an
    /// error. Comes before its `turn`.
    std::function<void()> phraseDone = [] {};
    /// The session could not be made or was lost. Whether there ever was a connection: without one
    /// nothing was promised yet.
    std::function<void(bool wasConnected)> unavailable = [](bool) {};
    /// The server has confirmed the session.
    std::function<void()> confirmed = [] {};
    /// After its message: no call with this key can succeed. The session is still there.
    std::function<void()> refused = [] {};
};

} // namespace nimbara
