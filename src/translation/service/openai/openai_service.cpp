#include "translation/service/openai/openai_service.h"

#include "net/openai.h"
#include "translation/service/openai/api_messages.h"
#include "translation/service/openai/live_transcriber.h"

#include <chrono>
#include <utility>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds phraseTimeout { 12000 };
constexpr std::chrono::milliseconds voiceTimeout { 30000 };
constexpr std::chrono::milliseconds probeTimeout { 8000 };

} // namespace

OpenAiService::OpenAiService(const Endpoint &endpoint)
    : m_api(endpoint)
{
    m_api.statusChanged = [this](const Message &message) { statusChanged(message); };
    m_api.ended = [this] { ended(); };
}

void OpenAiService::warmUp()
{
    m_api.probe(QStringLiteral("models/gpt-4.1-mini"), probeTimeout);
}

void OpenAiService::transcribe(const Phrase &phrase, Text done, Failed failed)
{
    m_api.postForm(
        QStringLiteral("audio/transcriptions"),
        api::transcriptionForm(phrase.language, phrase.wav, phrase.terms),
        phraseTimeout,
        QStringLiteral("Transcripcion"),
        [done = std::move(done)](const QByteArray &body) { done(api::transcript(body)); },
        std::move(failed));
}

void OpenAiService::translate(const Wording &wording, Text done, Failed failed)
{
    m_api.postJson(
        QStringLiteral("responses"),
        api::translationBody(wording.target, wording.context, wording.text, wording.terms),
        phraseTimeout,
        QStringLiteral("Traduccion"),
        [done = std::move(done)](const QByteArray &body) { done(openai::outputText(body)); },
        std::move(failed));
}

void OpenAiService::speak(const QString &text, Sound done)
{
    m_api.postJson(QStringLiteral("audio/speech"),
        api::speechBody(text),
        voiceTimeout,
        QStringLiteral("Voz"),
        std::move(done));
}

OpenAiProvider::OpenAiProvider(const Clock &clock, Endpoint endpoint)
    : m_clock(clock)
    , m_endpoint(std::move(endpoint))
{
}

std::unique_ptr<LanguageService> OpenAiProvider::makeService() const
{
    return std::make_unique<OpenAiService>(m_endpoint);
}

std::unique_ptr<LiveSession> OpenAiProvider::makeLiveSession() const
{
    return std::make_unique<LiveTranscriber>(m_clock, m_endpoint);
}

} // namespace nimbara
