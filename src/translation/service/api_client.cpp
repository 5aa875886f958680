#include "translation/service/api_client.h"

#include <QJsonDocument>
#include <QNetworkReply>

#include <utility>

namespace nimbara {

namespace {

int httpStatus(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

ApiClient::ApiClient(Endpoint endpoint)
    : m_endpoint(std::move(endpoint))
{
}

void ApiClient::open(const QString &key)
{
    m_key = key;
    m_open = true;
}

void ApiClient::close()
{
    ++m_generation;
    m_open = false;
    m_key.clear();
    // The abort completes each reply at once; its generation is old by now.
    for (auto *reply : m_network.findChildren<QNetworkReply *>()) {
        reply->abort();
    }
}

void ApiClient::postJson(const QString &path,
    const QJsonObject &body,
    api::Timeout timeout,
    const QString &tag,
    Success onSuccess,
    HttpError onHttpError)
{
    auto *reply = m_network.post(api::jsonRequest(m_endpoint, path, m_key, timeout),
        QJsonDocument(body).toJson(QJsonDocument::Compact));
    follow(reply, { m_generation, tag, std::move(onSuccess), std::move(onHttpError) });
}

void ApiClient::postForm(const QString &path,
    std::unique_ptr<QHttpMultiPart> form,
    api::Timeout timeout,
    const QString &tag,
    Success onSuccess,
    HttpError onHttpError)
{
    auto *reply = m_network.post(api::request(m_endpoint, path, m_key, timeout), form.get());
    form.release()->setParent(reply);
    follow(reply, { m_generation, tag, std::move(onSuccess), std::move(onHttpError) });
}

void ApiClient::probe(const QString &path, api::Timeout timeout)
{
    auto *reply = m_network.get(api::request(m_endpoint, path, m_key, timeout));
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

void ApiClient::follow(QNetworkReply *reply, Call call)
{
    QObject::connect(reply,
        &QNetworkReply::finished,
        &m_network,
        [this, reply, held = std::move(call)] { finish(reply, held); });
}

void ApiClient::finish(QNetworkReply *reply, const Call &call)
{
    reply->deleteLater();
    // An aborted reply is closed already.
    const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
    if (isStale(call)) {
        return;
    }
    if (reply->error() == QNetworkReply::NoError && httpStatus(reply) != 0) {
        call.onSuccess(body);
        return;
    }
    describeApiError(reply, body, call.tag);
    // The receiver of the message may have ended the run, and with it what this call counted.
    if (call.onHttpError && call.generation == m_generation) {
        call.onHttpError(httpStatus(reply));
    }
}

void ApiClient::describeApiError(QNetworkReply *reply, const QByteArray &body, const QString &tag)
{
    const auto failure
        = api::describeError(httpStatus(reply), body, reply->rawHeader("x-request-id"), tag);
    const std::int32_t generation = m_generation;
    statusChanged(api::withoutKey(failure.message, m_key));
    if (failure.fatal && generation == m_generation) {
        m_open = false;
    }
}

} // namespace nimbara
