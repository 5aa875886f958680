#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "net/endpoints.h"
#include "net/websocket_client.h"
#include "signal/audio_block.h"
#include "translation/service/live_audio.h"
#include "translation/service/live_session.h"
#include "translation/service/openai/live_messages.h"

#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <deque>
#include <optional>

namespace nimbara {

/// The live transcription session: streams the voice to the OpenAI realtime endpoint and reports
/// the text while it is spoken.
///
/// Idle → connecting (`start`) → handshaken → active (the server confirmed the configuration). Any
/// failure leads back to idle with `unavailable`.
class LiveTranscriber final : public LiveSession {
public:
    LiveTranscriber(const Clock &clock, Endpoint endpoint);

    void start(const QString &apiKey, const QString &language, const QString &prompt) override;
    void setPrompt(const QString &prompt) override;
    void stop() override;
    void pushAudio(const AudioBlock &block) override;

    /// Ends the phrase on the server when at least 0.5 s were sent since the last one.
    void commit();

    void finish() override;
    [[nodiscard]] bool isSettled() const override;

    /// Fails a session whose server does not answer: not to the connection for `connectPatienceMs`,
    /// or with no word at all for `answerPatienceMs` when a phrase has ended, even one whose end it
    /// has to hear itself.
    void checkAnswer() override;
    static constexpr std::int64_t connectPatienceMs = 10000;
    static constexpr std::int64_t answerPatienceMs = 6000;

    [[nodiscard]] std::int32_t pauseMs() const override { return m_audio.pauseMs(); }
    [[nodiscard]] bool isKeyRejected() const override { return m_keyRejected; }
    [[nodiscard]] bool isActive() const override { return m_active; }

private:
    void connectSocket();
    void configure();
    void tellPrompt();
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
    QString m_toldPrompt; ///< what the server has been told of it
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
