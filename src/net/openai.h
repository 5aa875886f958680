#pragma once

#include "net/http_client.h"

#include <QJsonObject>

/// What every call to the OpenAI API has in common. Pure.
namespace nimbara::openai {

/// A question to the text model.
struct TextPrompt {
    QString instructions; ///< left out when empty
    QString input;
    int maxOutputTokens = 0;
};

/// The value of the authorisation header: "Bearer " and the key, as `headerValue` makes it.
QByteArray bearer(const QString &key);

/// A request to `path` below the API root, e.g. "responses", with its authorisation; without a
/// body.
HttpRequest request(const Endpoint &endpoint,
    const QString &path,
    const QString &key,
    std::chrono::milliseconds timeout);

/// The same with a JSON body in compact form.
HttpRequest jsonRequest(const Endpoint &endpoint,
    const QString &path,
    const QString &key,
    const QJsonObject &body,
    std::chrono::milliseconds timeout);

/// The body of a request to "responses". The service is asked not to keep it.
QJsonObject textBody(const TextPrompt &prompt);

/// The service has cut the reply of "responses" short.
bool isIncomplete(const QByteArray &body);

/// The output texts of a reply of "responses", joined; empty when there are none.
QString outputText(const QByteArray &body);

} // namespace nimbara::openai
