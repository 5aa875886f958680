#include "net/http.h"

#include "net/endpoint_tls.h"

#include <QNetworkAccessManager>

#include <algorithm>
#include <utility>

namespace bible::http {

QNetworkRequest
request(const nimbara::Endpoint &endpoint, const QString &path, std::chrono::milliseconds timeout)
{
    QNetworkRequest request(endpoint.url(path));
    request.setTransferTimeout(static_cast<int>(timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
        QNetworkRequest::SameOriginRedirectPolicy);
    // Over HTTP/2, Qt 6.4 garbles header bytes beyond ASCII: a mistyped key would not be refused
    // but run into the time-out. Single calls gain nothing from HTTP/2 anyway.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setSslConfiguration(nimbara::tlsConfiguration(endpoint));
    return request;
}

QByteArray headerValue(const QString &key)
{
    QByteArray value = key.toUtf8();
    const auto isControl = [](char c) { return (c >= 0 && c < 0x20) || c == 0x7f; };
    value.erase(std::remove_if(value.begin(), value.end(), isControl), value.end());
    return value;
}

void follow(QNetworkReply *reply, std::function<void(const Reply &)> done)
{
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > maxBody) {
            reply->abort();
        }
    });
    const auto finish = [reply, done = std::move(done)] {
        reply->deleteLater();
        Reply result;
        result.ok = reply->error() == QNetworkReply::NoError;
        result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->isReadable()) { // a reply that was given up is closed
            result.body = reply->readAll();
        }
        done(result);
    };
    QObject::connect(reply, &QNetworkReply::finished, reply->manager(), finish);
}

} // namespace bible::http
