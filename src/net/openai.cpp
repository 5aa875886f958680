#include "net/openai.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <utility>

namespace nimbara::openai {

namespace {

void appendOutputText(const QJsonValue &item, QString &into)
{
    const QJsonArray contents = item.toObject().value(QLatin1String("content")).toArray();
    for (const auto &content : contents) {
        const QJsonObject piece = content.toObject();
        if (piece.value(QLatin1String("type")).toString() == QLatin1String("output_text")) {
            into += piece.value(QLatin1String("text")).toString();
        }
    }
}

} // namespace

QByteArray bearer(const QString &key)
{
    return "Bearer " + headerValue(key);
}

HttpRequest request(const Endpoint &endpoint,
    const QString &path,
    const QString &key,
    std::chrono::milliseconds timeout)
{
    HttpRequest request;
    request.endpoint = endpoint;
    request.path = path;
    request.headers.emplaceBack("Authorization", bearer(key));
    request.timeout = timeout;
    return request;
}

HttpRequest jsonRequest(const Endpoint &endpoint,
    const QString &path,
    const QString &key,
    const QJsonObject &body,
    std::chrono::milliseconds timeout)
{
    HttpRequest json = request(endpoint, path, key, timeout);
    json.headers.emplaceBack("Content-Type", "application/json");
    json.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return json;
}

QJsonObject textBody(const TextPrompt &prompt)
{
    QJsonObject body {
        { QStringLiteral("model"), QStringLiteral("gpt-4.1-mini") },
        { QStringLiteral("input"), prompt.input },
        { QStringLiteral("max_output_tokens"), prompt.maxOutputTokens },
        { QStringLiteral("store"), false },
    };
    if (!prompt.instructions.isEmpty()) {
        body.insert(QStringLiteral("instructions"), prompt.instructions);
    }
    return body;
}

bool isIncomplete(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String("status")).toString()
        == QLatin1String("incomplete");
}

QString outputText(const QByteArray &body)
{
    QString text;
    const QJsonArray output
        = QJsonDocument::fromJson(body).object().value(QLatin1String("output")).toArray();
    for (const auto &item : output) {
        appendOutputText(item, text);
    }
    return text;
}

} // namespace nimbara::openai
