#include "base/error.h"
#include "net/openai.h"
#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/service/openai/api_client.h"
#include "translation/service/openai/api_failure.h"
#include "translation/service/openai/key_test.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ApiTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void buildsRequestsAndReadsReplies()
    {
        QCOMPARE(openai::bearer(u"ñ\r\nX-Evil: 1"_s), QByteArray("Bearer ñX-Evil: 1"));
        QCOMPARE(openai::outputText(R"({"output":[{"content":[{"type":"reasoning","text":"no"},
            {"type":"output_text","text":"In the "}]},{"type":"x"},
            {"content":[{"type":"output_text","text":"beginning"}]}]})"),
            u"In the beginning"_s);
        QVERIFY(openai::outputText("{").isEmpty() && openai::outputText("[3]").isEmpty());
    }

    void namesFailures()
    {
        const char *quota = R"({"error":{"code":"insufficient_quota"}})";
        const char *rate = R"({"error":{"code":"rate_limit_exceeded"}})";
        const QString used = u"Sin cuota/saldo disponible en el proyecto API. "
                             "Revisa Facturación del proyecto."_s;
        const QString limit
            = u"Limite temporal de la API; se reintenta con el siguiente segmento."_s;
        const QString refused = u"API key o permisos no validos."_s;
        const QString other
            = u"No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo."_s;
        for (const auto &[status, body, message, fatal] : { std::tuple { 429, quota, used, true },
                 { 429, rate, limit, false },
                 { 429, "<html>", limit, false },
                 { 401, "", refused, true },
                 { 403, quota, refused, true },
                 { 500, quota, other.arg(500), false },
                 { 0, "", other.arg(0), false } }) {
            const auto failure = api::describeError(status, body, {}, u"Voz"_s);
            QCOMPARE(failure.message.spanish(), u"Voz: "_s + message);
            QCOMPARE(failure.fatal, fatal);
            const auto numbered = api::describeError(status, body, u"req_1"_s, u"Voz"_s);
            QCOMPARE(numbered.message.spanish(), u"Voz: "_s + message + u" ID: req_1"_s);
        }
    }

    void reportsFailedConnections()
    {
        Endpoint distrusted = m_peer.endpoint();
        distrusted.trustedCaPem.clear();
        ApiClient client(m_peer.endpoint());
        ApiClient wary(distrusted);
        QStringList messages;
        for (ApiClient *each : { &client, &wary }) {
            each->statusChanged = [&](const Message &text) { messages.append(text.spanish()); };
            each->open(u"sk-1"_s);
        }
        const auto none = [](const QByteArray &) { QFAIL("no reply was sent"); };
        client.postJson(u"responses"_s, {}, 200ms, u"Voz"_s, none);
        QTRY_COMPARE(messages.size(), 1); // timed out
        m_peer.onEvent = [this](const QJsonObject &event) { m_peer.drop(event); };
        client.postJson(u"responses"_s, {}, 12000ms, u"Voz"_s, none);
        QTRY_COMPARE(messages.size(), 2);
        m_peer.events.clear();
        wary.postJson(u"responses"_s, {}, 12000ms, u"Voz"_s, none);
        QTRY_COMPARE(messages.size(), 3);
        QCOMPARE(m_peer.count("request"), 0); // a server of an unknown authority gets nothing
        for (const QString &message : messages) {
            QVERIFY(message.startsWith(u"Voz: No se pudo completar la solicitud. HTTP 0."));
        }
        QVERIFY(client.isOpen());
    }

    void testsTheKey()
    {
        for (const auto &[status, body, outcome] : { // how it begins
                 std::tuple { 200,
                     "anything",
                     "API OK: respondió en 321 ms. La traducción está lista para usarse." },
                 { 401,
                     R"({"error":{"message":"Bad: sk-secret."}})",
                     "API con error HTTP 401: Bad: •••." },
                 { 503, "down", "API con error HTTP 503: " } }) {
            ManualClock clock;
            KeyTest test(clock, m_peer.endpoint());
            QStringList messages;
            test.status = [&](const Message &text) { messages.append(text.spanish()); };
            m_peer.onEvent = {};
            m_peer.events.clear();
            QVERIFY_EXCEPTION_THROWN(test.run({}), Error);
            test.run(u"sk-secret"_s);
            QCOMPARE(messages, QStringList { u"Probando la API de OpenAI..."_s });
            QTRY_COMPARE(m_peer.count("request", "/v1/responses"), 1);
            const QJsonObject request = m_peer.of("request").at(0);
            QCOMPARE(field(request, "body"),
                uR"({"input":"Responde solo: OK","max_output_tokens":16,"model":"gpt-4.1-mini","store":false})"_s);
            clock.advanceUs(321'000);
            m_peer.answer(request, body, status);
            QTRY_COMPARE(messages.size(), 2);
            QVERIFY2(messages.last().startsWith(QString::fromUtf8(outcome)),
                qPrintable(messages.last()));
            QVERIFY(!messages.last().contains(u"sk-secret"));
        }
    }

private:
    ApiPeer m_peer;
};

NIMBARA_TEST(ApiTest)
#include "api_test.moc"
