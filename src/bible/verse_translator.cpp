#include "bible/verse_translator.h"

#include "base/i18n.h"
#include "net/http.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace bible {

namespace {

QByteArray requestBody(const QString &text, const QString &target)
{
    const QJsonObject body {
        { QStringLiteral("model"), QStringLiteral("gpt-4.1-mini") },
        { QStringLiteral("instructions"),
            QString(QStringLiteral("Translate this Bible passage faithfully into ") + target
                + QStringLiteral(". Return only the translated passage, no commentary.")) },
        { QStringLiteral("input"), text },
        { QStringLiteral("max_output_tokens"), 800 },
        { QStringLiteral("store"), false },
    };
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

/// The output texts of a Responses reply, joined and trimmed.
QString outputText(const QByteArray &body)
{
    QString text;
    const QJsonObject reply = QJsonDocument::fromJson(body).object();
    const QJsonArray output = reply.value(QLatin1String("output")).toArray();
    for (const auto &item : output) {
        const QJsonArray content = item.toObject().value(QLatin1String("content")).toArray();
        for (const auto &element : content) {
            const QJsonObject piece = element.toObject();
            if (piece.value(QLatin1String("type")).toString() == QLatin1String("output_text")) {
                text += piece.value(QLatin1String("text")).toString();
            }
        }
    }
    return text.trimmed();
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
    QNetworkRequest request = http::request(m_endpoint, QStringLiteral("responses"), m_timeout);
    request.setRawHeader("Authorization", "Bearer " + http::headerValue(key));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    const auto finish = [done = std::move(done)](const http::Reply &reply) {
        const QString translated = reply.ok ? outputText(reply.body) : QString();
        done(translated,
            translated.isEmpty()
                ? nimbara_i18n::tr("No se pudo traducir el versículo (revisa la API key de OpenAI)")
                : QString());
    };
    http::follow(m_network.post(request, requestBody(text, target)), finish);
}

} // namespace bible
