#pragma once

#include "net/endpoints.h"

#include <QByteArray>
#include <QHttpMultiPart>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <variant>

namespace nimbara {

using HttpHeaders = QList<std::pair<QByteArray, QByteArray>>;

/// One HTTP/1.1 request: a GET without a body, a POST with one. It follows redirects within the
/// same origin only, so that a key in its headers never reaches another host.
struct HttpRequest {
    Endpoint endpoint;
    QString path; ///< below the endpoint's prefix, percent-encoded, with its query if it has one
    HttpHeaders headers; ///< sent in this order
    std::variant<std::monostate, QByteArray, std::unique_ptr<QHttpMultiPart>> body;
    /// Given up when nothing arrives for so long.
    std::chrono::milliseconds timeout { 0 };
    /// In bytes. A reply with a longer body is cut off and counts as failed.
    qint64 maxReply = std::numeric_limits<qint64>::max();
};

/// What came of a request.
struct HttpReply {
    int status = 0; ///< HTTP status; 0 without one, as on a time-out
    QByteArray body; ///< whole; empty when the reply was given up
    HttpHeaders headers;
    QNetworkReply::NetworkError error = QNetworkReply::NoError; ///< HTTP errors are errors, too
    QString errorText; ///< the toolkit's words for `error`; may quote the URL, never a header

    /// Neither a network nor an HTTP error.
    [[nodiscard]] bool isOk() const { return error == QNetworkReply::NoError; }

    /// The value of a header, its name in any case; empty without it.
    [[nodiscard]] QByteArray header(const QByteArray &name) const;
};

/// A key as the value of a header: UTF-8 without control characters, so that a key pasted with a
/// line break cannot become a header of its own.
QByteArray headerValue(const QString &key);

/// Sends requests and keeps the connections between them. Trusts the system's authorities and the
/// endpoint's own; the peer is always verified.
///
/// Interface thread only. The calls end with the client: none of their callbacks comes once it is
/// gone. A callback may send and cancel, and end the client by `deleteLater` only.
class HttpClient : public QObject {
public:
    using Done = std::function<void(const HttpReply &reply)>;

    explicit HttpClient(QObject *parent = nullptr);

    /// Calls `done` once, from the event loop, when the reply is complete or has failed. Without
    /// `done` the answer is of no interest.
    void send(HttpRequest request, Done done);

    /// Drops every request under way; their callbacks do not come any more.
    void cancelAll();

private:
    QNetworkReply *issue(HttpRequest &request);

    QNetworkAccessManager m_network;
};

} // namespace nimbara
