#include "translation/service/openai/live_transcriber.h"

#include "net/openai.h"
#include "translation/service/openai/api_failure.h"

#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t turnSettleMs = 1500;

} // namespace

LiveTranscriber::LiveTranscriber(const Clock &clock, Endpoint endpoint)
    : m_clock(clock)
    , m_socket(std::move(endpoint))
{
    connectSocket();
}

void LiveTranscriber::connectSocket()
{
    m_socket.opened = [this] { configure(); };
    m_socket.rejected = [this](const QByteArray &block) {
        m_keyRejected = block.startsWith("HTTP/1.1 401") || block.startsWith("HTTP/1.1 403");
        // The key goes before the text is cut: half a key is a secret too.
        QByteArray safe = block;
        safe.replace(m_apiKey.toUtf8(), "***");
        fail("Modo en vivo rechazado: " + Message::verbatim(QString::fromUtf8(safe.left(120))));
    };
    m_socket.message = [this](const QByteArray &message) { handleEvent(message); };
    m_socket.closed = [this] { fail("Conexión en vivo cerrada por el servidor."); };
    m_socket.failed = [this](const Message &reason) { fail("Conexión en vivo falló: " + reason); };
    m_socket.lost = [this] {
        if (m_socket.isHandshaken()) {
            fail("Conexión en vivo perdida.");
        }
    };
}

void LiveTranscriber::start(const QString &apiKey, const QString &language, const QString &prompt)
{
    stop();
    m_apiKey = apiKey;
    m_settings = live::fromEnvironment(language, prompt);
    // A time of the session before would date the first phrase of this one minutes back.
    m_lastSpeechTime = m_lastVoiceTime = 0;
    m_keyRejected = false;
    m_startedMs = nowMs();
    m_socket.open(QStringLiteral("realtime?intent=transcription"), openai::bearer(apiKey));
}

void LiveTranscriber::setPrompt(const QString &prompt)
{
    m_settings.prompt = prompt;
    tellPrompt();
}

/// Before the session is confirmed the rest of the configuration is still under way.
void LiveTranscriber::tellPrompt()
{
    if (m_active && !m_settings.turnMode && m_settings.prompt != m_toldPrompt) {
        configure();
    }
}

void LiveTranscriber::stop()
{
    ++m_session;
    m_apiKey.clear();
    m_active = false;
    m_socket.abort();
    m_partialText.clear();
    m_audio.reset();
    m_owed.clear();
    m_turnEndMs.reset();
    m_finishedMs.reset();
}

void LiveTranscriber::configure()
{
    m_toldPrompt = m_settings.prompt;
    m_socket.sendText(live::sessionUpdate(m_settings));
}

void LiveTranscriber::handleEvent(const QByteArray &message)
{
    const QJsonObject event = QJsonDocument::fromJson(message).object();
    const QString type = event.value(QLatin1String("type")).toString();
    m_answeredMs = nowMs();
    m_turnEndMs.reset();
    if (type == QLatin1String("session.updated")
        || type == QLatin1String("transcription_session.updated")) {
        confirm();
    } else if (type == QLatin1String("error")) {
        handleError(message);
    } else if (type == QLatin1String("conversation.item.input_audio_transcription.delta")) {
        m_partialText += event.value(QLatin1String("delta")).toString();
        partial(m_partialText);
    } else if (type == QLatin1String("conversation.item.input_audio_transcription.completed")) {
        handleCompleted(event.value(QLatin1String("transcript")).toString());
    } else if (type == QLatin1String("conversation.item.input_audio_transcription.failed")) {
        m_partialText.clear();
        payTranscript();
        tellError(message);
    } else if (type == QLatin1String("input_audio_buffer.speech_stopped")) {
        endTurn();
    }
}

/// The server has heard the end of a turn, with all the voice that it was given.
void LiveTranscriber::endTurn()
{
    m_lastSpeechTime = m_clock.wallMs();
    if (m_settings.turnMode) {
        m_audio.takeRest();
    }
    oweTranscript();
}

void LiveTranscriber::confirm()
{
    if (m_active) {
        return; // of another prompt
    }
    const std::uint32_t session = m_session;
    m_active = true;
    status(m_settings.turnMode ? "Modo en vivo activo (por turnos)."
                               : "Modo en vivo activo (texto mientras se habla).");
    if (session == m_session) {
        tellPrompt();
    }
    if (session == m_session && m_active) {
        confirmed();
    }
}

PhraseEnd LiveTranscriber::endNow() const
{
    const std::int64_t now = m_clock.wallMs();
    const std::int64_t phraseTime = m_lastSpeechTime == 0 ? now : m_lastSpeechTime;
    return { m_lastVoiceTime == 0 ? phraseTime : m_lastVoiceTime, now, phraseTime };
}

void LiveTranscriber::oweTranscript()
{
    if (m_owed.empty()) {
        m_answeredMs = nowMs();
    }
    m_owed.push_back(endNow());
    phraseEnded();
}

PhraseEnd LiveTranscriber::payTranscript()
{
    PhraseEnd end = endNow();
    if (!m_owed.empty()) {
        end = m_owed.front();
        m_owed.pop_front();
    }
    phraseDone();
    return end;
}

void LiveTranscriber::handleError(const QByteArray &event)
{
    if (m_active || api::isFatal(event)) {
        handleActiveError(event);
        return;
    }
    const QString message = api::errorMessage(event);
    if (!m_settings.turnMode) {
        m_settings.turnMode = true;
        status("Modelo en vivo no disponible (" + shown(message, 80) + "); se intenta por turnos.");
        configure();
        return;
    }
    fail("Error en vivo: " + shown(message, 160));
}

void LiveTranscriber::handleActiveError(const QByteArray &event)
{
    // A phrase that was not even taken gets no transcript.
    if (api::errorCode(event).startsWith(QLatin1String("input_audio_buffer_commit"))) {
        payTranscript();
    }
    tellError(event);
}

void LiveTranscriber::tellError(const QByteArray &event)
{
    const std::uint32_t session = m_session;
    status("Error en vivo: " + shown(api::errorMessage(event), 160));
    if (session == m_session && api::isFatal(event)) {
        refused();
    }
}

void LiveTranscriber::handleCompleted(const QString &transcript)
{
    const QString text = transcript.trimmed();
    m_partialText.clear();
    const PhraseEnd end = payTranscript();
    if (!text.isEmpty()) {
        turn(text, end);
    }
}

Message LiveTranscriber::shown(const QString &peerText, qsizetype length) const
{
    return Message::verbatim(api::withoutKey(peerText, m_apiKey).left(length));
}

/// Issues the message and returns to idle.
void LiveTranscriber::fail(const Message &message)
{
    const std::uint32_t session = m_session;
    status(message);
    if (session != m_session) {
        return; // the receiver stopped or restarted the session
    }
    const bool neverConnected = m_socket.isUnconnected() && !m_socket.isHandshaken();
    m_apiKey.clear();
    m_active = false;
    m_socket.abort();
    unavailable(!neverConnected);
}

bool LiveTranscriber::isServerSilent() const
{
    const auto isLate
        = [this](std::int64_t sinceMs) { return nowMs() - sinceMs > answerPatienceMs; };
    if (!m_active) {
        return false;
    }
    if (!m_owed.empty()) {
        return isLate(m_answeredMs);
    }
    if (m_settings.turnMode && m_finishedMs && m_audio.hasRest()) {
        return isLate(std::max(*m_finishedMs, m_answeredMs));
    }
    return m_turnEndMs && isLate(*m_turnEndMs);
}

void LiveTranscriber::checkAnswer()
{
    const bool connecting = !m_apiKey.isEmpty() && !m_active;
    if (isServerSilent() || (connecting && nowMs() - m_startedMs > connectPatienceMs)) {
        fail("Conexión en vivo falló: " + Message("el servidor no responde"));
    }
}

void LiveTranscriber::pushAudio(const AudioBlock &block)
{
    if (!m_active) {
        return;
    }
    if (m_audio.push(block)) {
        m_lastSpeechTime = m_lastVoiceTime = m_clock.wallMs();
    }
    if (m_audio.isChunkReady()) {
        sendAudio();
    }
    if (m_active && !m_settings.turnMode) {
        endPhraseIfDue();
    } else if (m_active && m_audio.takeTurnEnd() && !m_turnEndMs) {
        m_turnEndMs = nowMs();
    }
}

void LiveTranscriber::sendAudio()
{
    const QByteArray pcm = m_audio.takeChunk();
    if (!pcm.isEmpty()) {
        m_socket.sendText(live::audioAppend(pcm));
    }
}

void LiveTranscriber::endPhraseIfDue()
{
    if (!m_audio.isPhraseEnd(m_partialText)) {
        m_audio.forgetSilence();
        return;
    }
    sendAudio();
    if (m_audio.endPhrase()) {
        sendCommit();
    }
}

void LiveTranscriber::sendCommit()
{
    if (m_active) { // sending what was left may have shown that the network is gone
        m_socket.sendText(live::audioCommit());
        oweTranscript();
    }
}

void LiveTranscriber::finish()
{
    if (!m_active) {
        return;
    }
    m_finishedMs = nowMs();
    sendAudio();
    if (m_settings.turnMode) {
        // The server hears the end of a turn by its silence.
        m_socket.sendText(live::audioAppend(QByteArray(qsizetype { 600 } * 24 * 2, '\0')));
    } else if (m_audio.takeRest()) {
        sendCommit();
    }
}

bool LiveTranscriber::isSettled() const
{
    // In turn mode the server tells of a phrase once it has heard its end.
    return m_owed.empty()
        && (!m_settings.turnMode
            || (m_finishedMs && !m_audio.hasRest() && nowMs() - *m_finishedMs > turnSettleMs));
}

void LiveTranscriber::commit()
{
    if (m_audio.takeCommit() && m_active) {
        sendCommit();
    }
}

} // namespace nimbara
