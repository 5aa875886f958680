#include "net/http_client.h"

#include "net/endpoint_tls.h"

#include <QNetworkRequest>

#include <algorithm>

namespace nimbara {

namespace {

QNetworkRequest networkRequest(const HttpRequest &request)
{
    QNetworkRequest made(request.endpoint.url(request.path));
    for (const auto &[name, value] : request.headers) {
        made.setRawHeader(name, value);
    }
    made.setTransferTimeout(static_cast<int>(request.timeout.count()));
    made.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
        QNetworkRequest::SameOriginRedirectPolicy);
    // Over HTTP/2, Qt 6.4 garbles header bytes beyond ASCII: a mistyped key would not be refused
    // but run into the time-out; and a stream that the server resets looks like an empty success.
    // Single calls gain nothing from HTTP/2 anyway.
    made.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    made.setSslConfiguration(tlsConfiguration(request.endpoint));
    return made;
}

HttpReply read(QNetworkReply *reply)
{
    HttpReply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->isOpen()) { // a reply that was given up is closed
        result.body = reply->readAll();
    }
    for (const auto &[name, value] : reply->rawHeaderPairs()) {
        result.headers.emplaceBack(name, value);
    }
    result.error = reply->error();
    result.errorText = reply->errorString();
    return result;
}

void limit(QNetworkReply *reply, qint64 maxReply)
{
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [=](qint64 received) {
        if (received > maxReply) {
            reply->abort();
        }
    });
}

} // namespace

QByteArray HttpReply::header(const QByteArray &name) const
{
    const auto found = std::find_if(headers.begin(), headers.end(), [&name](const auto &pair) {
        return pair.first.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == headers.end() ? QByteArray() : found->second;
}

QByteArray headerValue(const QString &key)
{
    QByteArray value = key.toUtf8();
    const auto isControl = [](char c) { return (c >= 0 && c < 0x20) || c == 0x7f; };
    value.erase(std::remove_if(value.begin(), value.end(), isControl), value.end());
    return value;
}

HttpClient::HttpClient(QObject *parent)
    : QObject(parent)
{
    // The first use of TLS loads its library for more than 10 ms: here, before the service begins.
    QSslConfiguration::defaultConfiguration();
}

void HttpClient::send(HttpRequest request, Done done)
{
    QNetworkReply *reply = issue(request);
    limit(reply, request.maxReply);
    const auto finish = [reply, done = std::move(done)] {
        reply->deleteLater();
        if (done) {
            done(read(reply));
        }
    };
    QObject::connect(reply, &QNetworkReply::finished, &m_network, finish);
}

QNetworkReply *HttpClient::issue(HttpRequest &request)
{
    const QNetworkRequest made = networkRequest(request);
    if (const auto *bytes = std::get_if<QByteArray>(&request.body)) {
        return m_network.post(made, *bytes);
    }
    if (auto *form = std::get_if<std::unique_ptr<QHttpMultiPart>>(&request.body)) {
        QNetworkReply *reply = m_network.post(made, form->get());
        form->release()->setParent(reply);
        return reply;
    }
    return m_network.get(made);
}

void HttpClient::cancelAll()
{
    for (auto *reply : m_network.findChildren<QNetworkReply *>()) {
        reply->disconnect(&m_network); // the abort would complete the call
        reply->abort();
        reply->deleteLater();
    }
}

} // namespace nimbara
