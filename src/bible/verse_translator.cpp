#include "bible/verse_translator.h"

#include "net/openai.h"

#include <utility>

namespace bible {

namespace {

/// In bytes. No verse comes near.
constexpr qint64 maxReply = qint64 { 8 } * 1024 * 1024;

QJsonObject requestBody(const QString &text, const QString &target)
{
    return nimbara::openai::textBody({
        .instructions = QStringLiteral("Translate this Bible passage faithfully into ") + target
            + QStringLiteral(". Return only the translated passage, no commentary."),
        .input = text,
        .maxOutputTokens = 800,
    });
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
        m_timeout);
    request.maxReply = maxReply;
    const auto finish = [done = std::move(done)](const nimbara::HttpReply &reply) {
        const QString translated
            = reply.isOk() ? nimbara::openai::outputText(reply.body).trimmed() : QString();
        done(translated,
            translated.isEmpty()
                ? nimbara::Message("No se pudo traducir el versículo (revisa la API key de OpenAI)")
                : nimbara::Message());
    };
    m_http.send(std::move(request), finish);
}

} // namespace bible
