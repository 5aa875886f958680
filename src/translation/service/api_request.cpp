#include "translation/service/api_request.h"

#include "base/i18n.h"
#include "net/endpoint_tls.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

namespace nimbara::api {

using nimbara_i18n::tr;

namespace {

QJsonObject errorObject(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String("error")).toObject();
}

} // namespace

QByteArray bearer(const QString &key)
{
    QByteArray value = key.toUtf8();
    const auto isControl = [](char c) { return (c >= 0 && c < 0x20) || c == 0x7f; };
    value.erase(std::remove_if(value.begin(), value.end(), isControl), value.end());
    return "Bearer " + value;
}

QNetworkRequest
request(const Endpoint &endpoint, const QString &path, const QString &key, Timeout timeout)
{
    QNetworkRequest request(endpoint.url(path));
    request.setRawHeader("Authorization", bearer(key));
    request.setTransferTimeout(static_cast<int>(timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
        QNetworkRequest::SameOriginRedirectPolicy);
    // Over HTTP/2 the toolkit spoils header bytes beyond ASCII, and a stream that the server resets
    // looks like an empty success.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    if (!endpoint.trustedCaPem.isEmpty()) {
        request.setSslConfiguration(tlsConfiguration(endpoint));
    }
    return request;
}

QNetworkRequest
jsonRequest(const Endpoint &endpoint, const QString &path, const QString &key, Timeout timeout)
{
    QNetworkRequest json = request(endpoint, path, key, timeout);
    json.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return json;
}

Failure
describeError(int status, const QByteArray &body, const QByteArray &requestId, const QString &tag)
{
    const QString code = errorObject(body).value(QLatin1String("code")).toString();
    Failure failure;
    QString text;
    if (status == 429 && code == QLatin1String("insufficient_quota")) {
        failure.fatal = true;
        text
            = tr("Sin cuota/saldo disponible en el proyecto API. Revisa Facturación del proyecto.");
    } else if (status == 429) {
        text = tr("Limite temporal de la API; se reintenta con el siguiente segmento.");
    } else if (status == 401 || status == 403) {
        failure.fatal = true;
        text = tr("API key o permisos no validos.");
    } else {
        text = tr("No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo.")
                   .arg(status);
    }
    failure.message = tr(tag) + QStringLiteral(": ") + text;
    if (!requestId.isEmpty()) {
        failure.message += QStringLiteral(" ID: ") + QString::fromLatin1(requestId);
    }
    return failure;
}

QString errorMessage(const QByteArray &body)
{
    return errorObject(body).value(QLatin1String("message")).toString();
}

QString withoutKey(QString text, const QString &key)
{
    // The service repeats a refused key with its middle masked; that is too much of it, too.
    static const QRegularExpression masked(QStringLiteral(R"(\bsk-[\w*•.-]+)"));
    const QString hidden = QStringLiteral("•••");
    return (key.isEmpty() ? text : text.replace(key, hidden)).replace(masked, hidden);
}

} // namespace nimbara::api
