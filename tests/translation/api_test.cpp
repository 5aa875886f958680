#include "app/error.h"
#include "app/i18n.h"
#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/api_client.h"
#include "translation/api_messages.h"
#include "translation/key_test.h"

#include <QJsonDocument>
#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;
using namespace std::chrono_literals;

class ApiTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void buildsRequests();
    void namesFailures_data();
    void namesFailures();
    void readsReplies_data();
    void readsReplies();
    void reportsTimeOutsAndBrokenConnections();
    void trustsOnlyKnownAuthorities();
    void followsNoRedirectElsewhere();
    void testsTheKey_data();
    void testsTheKey();
    void testsNoEmptyKey();

private:
    ApiPeer m_peer;
};

namespace {

const QString key = QStringLiteral("sk-secreto-1234");

} // namespace

void ApiTest::buildsRequests()
{
    const auto request
        = api::jsonRequest(openAiEndpoint(), QStringLiteral("responses"), key, 12000ms);
    QCOMPARE(request.url().adjusted(QUrl::RemovePort),
        QUrl(QStringLiteral("https://api.openai.com/v1/responses")));
    QCOMPARE(request.rawHeader("Authorization"), QByteArray("Bearer sk-secreto-1234"));
    QCOMPARE(request.rawHeader("Content-Type"), QByteArray("application/json"));
    QCOMPARE(request.transferTimeout(), 12000);
    QCOMPARE(api::bearer(QStringLiteral("a\r\nX-Evil: 1")), QByteArray("Bearer aX-Evil: 1"));
}

void ApiTest::namesFailures_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("fatal");
    const QByteArray quota = R"({"error":{"code":"insufficient_quota"}})";
    const QByteArray rate = R"({"error":{"code":"rate_limit_exceeded"}})";
    const QString other = QStringLiteral(
        "Voz: No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo.");
    QTest::newRow("quota") << 429 << quota << QByteArray("req_1")
                           << QStringLiteral("Voz: Sin cuota/saldo disponible en el proyecto API. "
                                             "Revisa Facturación del proyecto. ID: req_1")
                           << true;
    const QString limit
        = QStringLiteral("Voz: Limite temporal de la API; se reintenta con el siguiente segmento.");
    QTest::newRow("rate") << 429 << rate << QByteArray() << limit << false;
    QTest::newRow("429, no JSON") << 429 << QByteArray("<html>") << QByteArray() << limit << false;
    const QString refused = QStringLiteral("Voz: API key o permisos no validos.");
    QTest::newRow("401") << 401 << QByteArray() << QByteArray() << refused << true;
    QTest::newRow("403") << 403 << quota << QByteArray() << refused << true;
    QTest::newRow("quota code, other status")
        << 500 << quota << QByteArray() << other.arg(500) << false;
    QTest::newRow("no status") << 0 << QByteArray() << QByteArray() << other.arg(0) << false;
}

void ApiTest::namesFailures()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, id);
    const auto failure = api::describeError(status, body, id, QStringLiteral("Voz"));
    QTEST(failure.message, "message");
    QTEST(failure.fatal, "fatal");
}

void ApiTest::readsReplies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("pieces") << QByteArray(
        R"({"output":[{"content":[{"type":"reasoning","text":"no"},
        {"type":"output_text","text":"In the "}]},{"type":"x"},
        {"content":[{"type":"output_text","text":"beginning"}]}]})")
                            << "In the beginning";
    QTest::newRow("no JSON") << QByteArray("{") << "";
    QTest::newRow("other types") << QByteArray(R"({"output":{"content":3}})") << "";
}

void ApiTest::readsReplies()
{
    QFETCH(QByteArray, body);
    QTEST(api::translation(body), "text");
}

void ApiTest::reportsTimeOutsAndBrokenConnections()
{
    ApiClient client(m_peer.endpoint());
    QStringList messages;
    QList<int> statuses;
    client.statusChanged = [&](const QString &text) { messages.append(text); };
    client.open(key);
    const auto post = [&](api::Timeout timeout) {
        client.postJson(
            QStringLiteral("responses"),
            {},
            timeout,
            QStringLiteral("Traduccion"),
            [](const QByteArray &) { QFAIL("no reply was sent"); },
            [&](int status) { statuses.append(status); });
    };
    m_peer.onEvent = [](const QJsonObject &) {};
    post(100ms);
    QTRY_COMPARE(statuses, QList<int> { 0 });
    m_peer.onEvent = [&](const QJsonObject &event) {
        m_peer.command({ { QStringLiteral("do"), QStringLiteral("drop") },
            { QStringLiteral("id"), event.value(QLatin1String("id")) } });
    };
    post(12000ms);
    QTRY_COMPARE(statuses, (QList<int> { 0, 0 }));
    QVERIFY(client.isOpen());
    QCOMPARE(messages.last(),
        QStringLiteral("Traduccion: No se pudo completar la solicitud. HTTP 0. "
                       "Revisa conexion y acceso al modelo."));
}

void ApiTest::trustsOnlyKnownAuthorities()
{
    Endpoint endpoint = m_peer.endpoint();
    endpoint.trustedCaPem.clear();
    ApiClient client(endpoint);
    QStringList messages;
    client.statusChanged = [&](const QString &text) { messages.append(text); };
    m_peer.events.clear();
    client.open(key);
    client.postJson(QStringLiteral("responses"), {}, 12000ms, QStringLiteral("Voz"), [](auto) {});
    QTRY_COMPARE(messages.size(), 1);
    QCOMPARE(m_peer.count(QStringLiteral("request")), 0);
}

void ApiTest::followsNoRedirectElsewhere()
{
    ApiPeer other;
    ApiClient client(m_peer.endpoint());
    QStringList messages;
    client.statusChanged = [&](const QString &text) { messages.append(text); };
    m_peer.onEvent = [&](const QJsonObject &event) {
        const QString target
            = QStringLiteral("https://127.0.0.1:%1/v1/responses").arg(other.endpoint().port);
        m_peer.command({ { QStringLiteral("do"), QStringLiteral("answer") },
            { QStringLiteral("id"), event.value(QLatin1String("id")) },
            { QStringLiteral("status"), 307 },
            { QStringLiteral("headers"),
                QJsonObject { { QStringLiteral("location"), target } } } });
    };
    client.open(key);
    client.postJson(QStringLiteral("responses"), {}, 12000ms, QStringLiteral("Voz"), [](auto) {});
    QTRY_COMPARE(messages.size(), 1);
    QCOMPARE(other.count(QStringLiteral("connection")), 0);
}

void ApiTest::testsTheKey_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("good") << "es" << 200 << QByteArray("anything")
                          << "API OK: respondió en 321 ms. La traducción está lista para usarse.";
    QTest::newRow("refused") << "es" << 401
                             << QByteArray(R"({"error":{"message":"Bad key: sk-secreto-1234."}})")
                             << "API con error HTTP 401: Bad key: •••.";
    QTest::newRow("no JSON") << "es" << 503 << QByteArray("down") << "API con error HTTP 503: ";
}

void ApiTest::testsTheKey()
{
    QFETCH(QString, language);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, outcome);
    nimbara_i18n::language() = language;
    ManualClock clock;
    KeyTest test(clock, m_peer.endpoint());
    QStringList messages;
    test.status = [&](const QString &text) { messages.append(text); };
    QJsonObject request;
    m_peer.onEvent = [&](const QJsonObject &event) {
        if (event.value(QLatin1String("event")) == QLatin1String("request")) {
            request = event;
            clock.advanceUs(321'000);
            m_peer.command({ { QStringLiteral("do"), QStringLiteral("answer") },
                { QStringLiteral("id"), event.value(QLatin1String("id")) },
                { QStringLiteral("status"), status },
                { QStringLiteral("text"), QString::fromUtf8(body) } });
        }
    };
    test.run(key);
    QCOMPARE(messages, QStringList { QStringLiteral("Probando la API de OpenAI...") });
    QTRY_COMPARE(messages.size(), 2);
    QVERIFY2(messages.last().startsWith(outcome), qPrintable(messages.last()));
    QVERIFY(!messages.last().contains(key));
    QCOMPARE(request.value(QLatin1String("path")), QStringLiteral("/v1/responses"));
    QCOMPARE(request.value(QLatin1String("body")),
        QStringLiteral(R"({"input":"Responde solo: OK","max_output_tokens":16,)"
                       R"("model":"gpt-4.1-mini","store":false})"));
}

void ApiTest::testsNoEmptyKey()
{
    ManualClock clock;
    KeyTest test(clock, m_peer.endpoint());
    try {
        test.run({});
        QFAIL("an empty key was tested");
    } catch (const Error &error) {
        QCOMPARE(error.text(), QStringLiteral("Ingresa tu API key"));
    }
}

NIMBARA_TEST(ApiTest)
#include "api_test.moc"
