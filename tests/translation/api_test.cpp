#include "base/error.h"
#include "net/openai.h"
#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/service/api_client.h"
#include "translation/service/api_failure.h"
#include "translation/service/key_test.h"

#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ApiTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void buildsRequestsAndReadsReplies();
    void namesFailures_data();
    void namesFailures();
    void reportsFailedConnections();
    void testsTheKey_data();
    void testsTheKey();

private:
    ApiPeer m_peer;
};

void ApiTest::buildsRequestsAndReadsReplies()
{
    QCOMPARE(openai::bearer(u"ñ\r\nX-Evil: 1"_s), QByteArray("Bearer ñX-Evil: 1"));
    QCOMPARE(openai::outputText(R"({"output":[{"content":[{"type":"reasoning","text":"no"},
        {"type":"output_text","text":"In the "}]},{"type":"x"},
        {"content":[{"type":"output_text","text":"beginning"}]}]})"),
        u"In the beginning"_s);
    QVERIFY(openai::outputText("{").isEmpty() && openai::outputText("[3]").isEmpty());
}

void ApiTest::namesFailures_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("fatal");
    const QByteArray quota = R"({"error":{"code":"insufficient_quota"}})";
    const QByteArray rate = R"({"error":{"code":"rate_limit_exceeded"}})";
    const auto row = [](const char *name, int status, const QByteArray &body, const QString &text) {
        const bool fatal = !text.startsWith(u"L") && !text.startsWith(u"No");
        QTest::newRow(name) << status << body << text << fatal;
    };
    const QString used = u"Sin cuota/saldo disponible en el proyecto API. "
                         "Revisa Facturación del proyecto."_s;
    const QString limit = u"Limite temporal de la API; se reintenta con el siguiente segmento."_s;
    const QString refused = u"API key o permisos no validos."_s;
    const QString other
        = u"No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo."_s;
    row("quota", 429, quota, used);
    row("rate", 429, rate, limit);
    row("no JSON", 429, "<html>", limit);
    row("key", 401, "", refused);
    row("permission", 403, quota, refused);
    row("server", 500, quota, other.arg(500));
    row("no status", 0, "", other.arg(0));
}

void ApiTest::namesFailures()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    const auto failure = api::describeError(status, body, {}, u"Voz"_s);
    QCOMPARE(failure.message.spanish(), u"Voz: "_s + message);
    QTEST(failure.fatal, "fatal");
    const auto numbered = api::describeError(status, body, u"req_1"_s, u"Voz"_s);
    QCOMPARE(numbered.message.spanish(), u"Voz: "_s + message + u" ID: req_1"_s);
}

void ApiTest::reportsFailedConnections()
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

void ApiTest::testsTheKey_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("outcome"); // how it begins
    QTest::newRow("good")
        << 200 << QByteArray("anything")
        << u"API OK: respondió en 321 ms. La traducción está lista para usarse."_s;
    QTest::newRow("refused") << 401 << QByteArray(R"({"error":{"message":"Bad: sk-secret."}})")
                             << u"API con error HTTP 401: Bad: •••."_s;
    QTest::newRow("no JSON") << 503 << QByteArray("down") << u"API con error HTTP 503: "_s;
}

void ApiTest::testsTheKey()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, outcome);
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
    QVERIFY2(messages.last().startsWith(outcome), qPrintable(messages.last()));
    QVERIFY(!messages.last().contains(u"sk-secret"));
}

NIMBARA_TEST(ApiTest)
#include "api_test.moc"
