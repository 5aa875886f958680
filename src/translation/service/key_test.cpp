#include "translation/service/key_test.h"

#include "base/error.h"
#include "base/i18n.h"
#include "translation/service/api_messages.h"
#include "translation/service/api_request.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <utility>

namespace nimbara {

namespace {

constexpr api::Timeout keyTestTimeout { 15000 };

QString outcome(QNetworkReply *reply, std::int64_t elapsedMs, const QString &key)
{
    if (reply->error() == QNetworkReply::NoError) {
        return nimbara_i18n::tr("API OK: respondió en ") + QString::number(elapsedMs)
            + QStringLiteral(" ms. ") + nimbara_i18n::tr("La traducción está lista para usarse.");
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    QString detail = reply->isOpen() ? api::errorMessage(reply->readAll()) : QString();
    if (detail.isEmpty()) {
        detail = reply->errorString();
    }
    return nimbara_i18n::tr("API con error HTTP ") + QString::number(status) + QStringLiteral(": ")
        + api::withoutKey(detail, key);
}

} // namespace

KeyTest::KeyTest(const Clock &clock, Endpoint endpoint)
    : m_clock(clock)
    , m_endpoint(std::move(endpoint))
{
}

void KeyTest::run(const QString &key)
{
    if (key.isEmpty()) {
        throw Error(QStringLiteral("Ingresa tu API key"));
    }
    status(nimbara_i18n::tr("Probando la API de OpenAI..."));
    auto *manager = new QNetworkAccessManager(&m_managers);
    const std::int64_t sentMs = m_clock.wallMs();
    auto *reply = manager->post(
        api::jsonRequest(m_endpoint, QStringLiteral("responses"), key, keyTestTimeout),
        QJsonDocument(api::keyTestBody()).toJson(QJsonDocument::Compact));
    QObject::connect(reply, &QNetworkReply::finished, manager, [this, manager, reply, sentMs, key] {
        reply->deleteLater();
        manager->deleteLater();
        status(outcome(reply, m_clock.wallMs() - sentMs, key));
    });
}

} // namespace nimbara
