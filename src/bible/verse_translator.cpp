#include "bible/verse_translator.h"

#include "net/openai.h"

#include <algorithm>
#include <utility>

namespace bible {

namespace {

/// In bytes. No verse comes near.
constexpr qint64 maxReply = qint64 { 8 } * 1024 * 1024;

/// The longest answer that the model gives, in tokens.
constexpr qsizetype mostTokens = 32768;
constexpr qsizetype fewestTokens = 800;

/// Some languages take a token for every letter; a whole chapter has thousands.
int tokensFor(const QString &text)
{
    return static_cast<int>(std::clamp(text.size(), fewestTokens, mostTokens));
}

/// What a long passage takes to write, beyond the time of a verse.
std::chrono::milliseconds writingTime(const QString &text)
{
    constexpr std::chrono::milliseconds perToken { 10 };
    return (tokensFor(text) - fewestTokens) * perToken;
}

QJsonObject requestBody(const QString &text, const QString &target)
{
    return nimbara::openai::textBody({
        .instructions = QStringLiteral("Translate this Bible passage faithfully into ") + target
            + QStringLiteral(". Return only the translated passage, no commentary."),
        .input = text,
        .maxOutputTokens = tokensFor(text),
    });
}

nimbara::Message failureOf(const nimbara::HttpReply &reply, const QString &translated)
{
    if (reply.isOk() && nimbara::openai::isIncomplete(reply.body)) {
        return nimbara::Message("La traducción del versículo llegó incompleta")
            + nimbara::Message::verbatim(QStringLiteral(" · ")) + "se mantiene RV1909";
    }
    return translated.isEmpty()
        ? nimbara::Message("No se pudo traducir el versículo (revisa la API key de OpenAI)")
        : nimbara::Message();
}

} // namespace

VerseTranslator::VerseTranslator(nimbara::Endpoint endpoint, std::chrono::milliseconds timeout)
    : m_endpoint(std::move(endpoint))
    , m_timeout(timeout)
{
}

void VerseTranslator::translateVerse(const QString &key,
    const QString &text,
    const QString &target,
    Callback done)
{
    auto request = nimbara::openai::jsonRequest(m_endpoint,
        QStringLiteral("responses"),
        key,
        requestBody(text, target),
        m_timeout + writingTime(text));
    request.maxReply = maxReply;
    const auto finish = [done = std::move(done)](const nimbara::HttpReply &reply) {
        const QString translated
            = reply.isOk() ? nimbara::openai::outputText(reply.body).trimmed() : QString();
        done(translated, failureOf(reply, translated));
    };
    m_http.send(std::move(request), finish);
}

} // namespace bible
