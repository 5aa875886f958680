#include "translation/service/openai/api_failure.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace nimbara::api {

namespace {

QJsonObject errorObject(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String("error")).toObject();
}

constexpr QLatin1String noCredit("insufficient_quota");

} // namespace

Failure
describeError(int status, const QByteArray &body, const QString &requestId, const QString &tag)
{
    const QString code = errorCode(body);
    Failure failure;
    Message text;
    if (status == 429 && code == noCredit) {
        failure.fatal = true;
        text = "Sin cuota/saldo disponible en el proyecto API. Revisa Facturación del proyecto.";
    } else if (status == 429) {
        text = "Limite temporal de la API; se reintenta con el siguiente segmento.";
    } else if (status == 401 || status == 403) {
        failure.fatal = true;
        text = "API key o permisos no validos.";
    } else {
        text = Message(
            "No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo.",
            { Message::verbatim(QString::number(status)) });
    }
    failure.message = Message(tag) + Message::verbatim(QStringLiteral(": ")) + text;
    if (!requestId.isEmpty()) {
        failure.message += Message::verbatim(QStringLiteral(" ID: ") + requestId);
    }
    return failure;
}

QString errorMessage(const QByteArray &body)
{
    return errorObject(body).value(QLatin1String("message")).toString();
}

QString errorCode(const QByteArray &body)
{
    return errorObject(body).value(QLatin1String("code")).toString();
}

bool isFatal(const QByteArray &event)
{
    const QString code = errorCode(event);
    return code == noCredit || code == QLatin1String("invalid_api_key");
}

QString withoutKey(QString text, const QString &key)
{
    // The service repeats a refused key with its middle masked; that is too much of it, too.
    static const QRegularExpression masked(QStringLiteral(R"(\bsk-[\w*•.-]+)"));
    const QString hidden = QStringLiteral("•••");
    return (key.isEmpty() ? text : text.replace(key, hidden)).replace(masked, hidden);
}

} // namespace nimbara::api
