#pragma once

#include "net/endpoints.h"

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>

#include <chrono>

/// What every HTTP call to the OpenAI API has in common. Interface thread.
namespace nimbara::api {

using Timeout = std::chrono::milliseconds;

/// "Bearer " and the key in UTF-8. Control characters are left out: a key pasted with a line break
/// must not become a header of its own.
QByteArray bearer(const QString &key);

/// A request to `path` below the API root, e.g. "responses": authorisation, transfer time-out and
/// redirects within the same origin only, so that the key never follows a redirect elsewhere.
QNetworkRequest
request(const Endpoint &endpoint, const QString &path, const QString &key, Timeout timeout);

/// The same with the content type of a JSON body.
QNetworkRequest
jsonRequest(const Endpoint &endpoint, const QString &path, const QString &key, Timeout timeout);

/// What went wrong with a call, for the operator.
struct Failure {
    QString message; ///< Spanish, shown as it is
    bool fatal = false; ///< no later call can succeed: the key is refused or its credit is used up
};

/// The message for a failed reply. `status` is the HTTP status, 0 without one; `body` the reply's
/// body, JSON or not; `requestId` the value of its "x-request-id" header in Latin-1, empty without
/// one; `tag` the word that the message begins with.
Failure
describeError(int status, const QByteArray &body, const QByteArray &requestId, const QString &tag);

/// "error"."message" of a reply or event; empty when there is none.
QString errorMessage(const QByteArray &body);

/// `text` with every occurrence of the key blotted out: a peer may echo what it was sent.
QString withoutKey(QString text, const QString &key);

} // namespace nimbara::api
