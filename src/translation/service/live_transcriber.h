#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "net/endpoints.h"
#include "net/websocket_client.h"
#include "signal/audio_block.h"
#include "translation/service/live_audio.h"
#include "translation/service/live_messages.h"

#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace nimbara {

/// The end of a phrase, in milliseconds since the epoch.
struct PhraseEnd {
    std::int64_t spokenMs = 0; ///< its last voiced sample
    std::int64_t heardMs = 0; ///< when it was found
    std::int64_t phraseTimeMs = 0; ///< `spokenMs`, or when the server told of the end
};

/// The live transcription session: streams the voice to the OpenAI realtime endpoint and reports
/// the text while it is spoken.
///
/// Idle → connecting (`start`) → handshaken → active (the server confirmed the configuration). Any
/// failure leads back to idle with `unavailable`; there is no reconnection: `LiveRoad` opens the
/// next session. Interface thread only; a callback may call `stop` or `start`.
class LiveTranscriber {
public:
    LiveTranscriber(const Clock &clock, Endpoint endpoint);

    /// Ends any session and begins one. `language` is the source language code or empty.
    void start(const QString &apiKey, const QString &language, const QString &prompt);

    /// Ends the session without a callback and forgets the key.
    void stop();

    /// Streams one block; ignored unless active.
    void pushAudio(const AudioBlock &block);

    /// Ends the phrase on the server when at least 0.5 s were sent since the last one.
    void commit();

    /// No audio follows: what was said and has not ended a phrase is one, too, however short.
    void finish();

    /// After `finish`: every phrase is transcribed.
    [[nodiscard]] bool isSettled() const;

    /// Fails a session whose server does not answer: not to the connection for `connectPatienceMs`,
    /// or with no word at all for `answerPatienceMs` when a phrase has ended, even one whose end it
    /// has to hear itself. Call it now and then.
    void checkAnswer();
    static constexpr std::int64_t connectPatienceMs = 10000;
    static constexpr std::int64_t answerPatienceMs = 6000;

    /// How long the audio that it was given has been silent.
    [[nodiscard]] std::int32_t pauseMs() const { return m_audio.pauseMs(); }

    /// The server has refused the key of the last session: the next one would be refused, too.
    [[nodiscard]] bool isKeyRejected() const { return m_keyRejected; }

    /// The session takes audio.
    [[nodiscard]] bool isActive() const { return m_active; }

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

private:
    void connectSocket();
    void configure();
    void handleEvent(const QByteArray &message);
    void handleError(const QByteArray &event);
    void handleActiveError(const QByteArray &event);
    void tellError(const QByteArray &event);
    void handleCompleted(const QString &transcript);
    void endPhraseIfDue();
    void sendAudio();
    void sendCommit();
    void confirm();
    void endTurn();
    [[nodiscard]] bool isServerSilent() const;
    void oweTranscript();
    PhraseEnd payTranscript();
    [[nodiscard]] PhraseEnd endNow() const;
    [[nodiscard]] std::int64_t nowMs() const { return m_clock.monotonicUs() / 1000; }
    void fail(const Message &message);
    [[nodiscard]] Message shown(const QString &peerText, qsizetype length) const;

    const Clock &m_clock;
    WebSocketClient m_socket;
    QString m_apiKey; ///< empty: no session is wanted
    live::SessionSettings m_settings;
    bool m_active = false;
    std::uint32_t m_session = 0; ///< raised by every stop, and so by every start
    LiveAudio m_audio;
    QString m_partialText;
    // Milliseconds since the epoch; 0: none in this session.
    std::int64_t m_lastVoiceTime = 0; ///< of the last voiced sample
    std::int64_t m_lastSpeechTime = 0; ///< the same, or of the last end that the server told of
    bool m_keyRejected = false;
    std::deque<PhraseEnd> m_owed; ///< phrases that ended and are not transcribed
    // Monotonic milliseconds.
    std::int64_t m_startedMs = 0;
    std::int64_t m_answeredMs = 0; ///< the server's last word, or the end of the first owed phrase
    std::optional<std::int64_t> m_turnEndMs; ///< a turn ended, and no word came since
    std::optional<std::int64_t> m_finishedMs;
};

} // namespace nimbara
