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
#include <functional>

namespace nimbara {

/// The live transcription session: streams the voice to the OpenAI realtime endpoint and reports
/// the text while it is spoken.
///
/// Idle → connecting (`start`) → handshaken → active (the server confirmed the configuration). Any
/// failure leads back to idle with `unavailable`; there is no reconnection. Interface thread only;
/// a callback may call `stop` or `start`.
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

    /// The session takes audio.
    [[nodiscard]] bool isActive() const { return m_active; }

    std::function<void(const Message &message)> status = [](const Message &) {};
    /// Gets the text of the phrase being spoken so far.
    std::function<void(const QString &text)> partial = [](const QString &) {};
    /// Gets the text of a finished phrase and when it ended, in milliseconds since the epoch.
    std::function<void(const QString &text, std::int64_t phraseTimeMs)> turn
        = [](const QString &, std::int64_t) {};
    /// The audio given so far ends a phrase.
    std::function<void()> phraseEnded = [] {};
    /// The earliest phrase that ended is transcribed, perhaps as nothing, or answered with an
    /// error. Comes before its `turn`.
    std::function<void()> phraseDone = [] {};
    std::function<void()> unavailable = [] {}; ///< the session could not be made or was lost
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
    std::int64_t m_lastSpeechTime = 0; ///< ms since the epoch; 0: none in this session
};

} // namespace nimbara
