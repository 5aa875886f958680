#pragma once

#include "base/message.h"

#include <QByteArray>
#include <QString>

/// What a failed call to the OpenAI API says to the operator. Pure.
namespace nimbara::api {

/// What went wrong with a call, for the operator.
struct Failure {
    Message message;
    bool fatal = false; ///< no later call can succeed: the key is refused or its credit is used up
};

/// The message for a failed reply. `status` is the HTTP status, 0 without one; `body` the reply's
/// body, JSON or not; `requestId` the value of its "x-request-id" header, empty without
/// one, shown as it is; `tag` the word that the message begins with.
Failure
describeError(int status, const QByteArray &body, const QString &requestId, const QString &tag);

/// "error"."message" of a reply or event; empty when there is none.
QString errorMessage(const QByteArray &body);

/// The event of a live session tells that no later call can succeed.
bool isFatal(const QByteArray &event);

/// "error"."code" of a reply or event; empty when there is none.
QString errorCode(const QByteArray &body);

/// `text` with every occurrence of the key blotted out: a peer may echo what it was sent.
QString withoutKey(QString text, const QString &key);

} // namespace nimbara::api
