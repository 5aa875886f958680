#pragma once

#include "net/endpoints.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QString>

#include <chrono>
#include <functional>

/// What the calls of this room have in common. Interface thread.
namespace bible::http {

/// A whole reply.
struct Reply {
    bool ok = false; ///< no network and no HTTP error
    int status = 0; ///< HTTP status; 0 without one, as on a time-out
    QByteArray body;
};

/// A longer body is cut off and counts as a failed reply: no passage or list comes near.
constexpr qint64 maxBody = qint64 { 8 } * 1024 * 1024;

/// An HTTP/1.1 request below the endpoint's root. It is given up when nothing arrives for
/// `timeout`, and follows redirects within the same origin only, so that a key never reaches
/// another host.
QNetworkRequest
request(const nimbara::Endpoint &endpoint, const QString &path, std::chrono::milliseconds timeout);

/// A key as the value of a header: UTF-8 without control characters, so that a key pasted with a
/// line break cannot become a header of its own.
QByteArray headerValue(const QString &key);

/// Calls `done` from the event loop when the reply is complete, then deletes the reply. Never
/// called once the manager that issued the reply is gone.
void follow(QNetworkReply *reply, std::function<void(const Reply &)> done);

} // namespace bible::http
