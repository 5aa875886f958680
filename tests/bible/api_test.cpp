#include "bible/api.h"
#include "peer_test.h"
#include "support/test_registry.h"

#include <QTcpServer>

#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ApiTest : public PeerTest {
    Q_OBJECT

    void ask(bible::Api &api, const bible::Ref &ref = { 42, 3, 16, 16 })
    {
        text.reset();
        // A key as it may be pasted, with a line break that must not begin another header.
        api.passage(u"k-ñ\r\nx-a: 1"_s,
            u"bib-01"_s,
            ref,
            [this](const QString &got, const QString &failure) {
                text = got;
                error = failure;
            });
    }

    std::optional<QString> text;
    QString error;

private Q_SLOTS:
    void passages();
    void failures();
    void listings();
    void refusedReferences();
    void unreachable();
    void otherHostGetsNoKey();
};

void ApiTest::passages()
{
    bible::Api api(peer->endpoint());
    for (const auto &[from, to, id, numbered] : { std::tuple { 16, 16, "JHN.3.16", "false" },
             { 16, 18, "JHN.3.16-JHN.3.18", "true" },
             { 0, 0, "JHN.3", "false" } }) {
        forgetRequests();
        ask(api, { 42, 3, from, to });
        QTRY_COMPARE(requests(), 1);
        QCOMPARE(sent("method"), u"GET"_s);
        QCOMPARE(sent("path"),
            QStringLiteral("/v1/bibles/bib-01/passages/%1?content-type=text&include-notes=false"
                           "&include-titles=false&include-chapter-numbers=false"
                           "&include-verse-numbers=%2&include-verse-spans=false")
                .arg(QLatin1String(id), QLatin1String(numbered)));
        QCOMPARE(header("api-key").toLatin1(), QByteArray("k-\xc3\xb1x-a: 1")); // UTF-8 bytes
        QCOMPARE(header("x-a"), QString());
        reply(0, R"({"data":{"content":"  [16] Porque\n   de tal \t manera "}})");
        QTRY_COMPARE(text, std::optional(u"[16] Porque de tal manera"_s));
        QCOMPARE(error, QString());
    }
}

void ApiTest::failures()
{
    const char *full = R"({"data":{"content":"texto"}})";
    const char *refused = "API.Bible: clave no válida o sin permiso para esa Biblia";
    const char *empty = "API.Bible no devolvió texto para esa cita";
    bible::Api api(peer->endpoint());
    for (const auto &[status, body, wanted] : { std::tuple { 401, full, refused },
             { 403, full, refused },
             { 404, full, "API.Bible: sin respuesta (HTTP 404)" },
             { 500, full, "API.Bible: sin respuesta (HTTP 500)" },
             { 200, "<html>texto</html>", empty },
             { 200, R"({"data":[]})", empty },
             { 200, R"({"data":{"content":" \n\t "}})", empty } }) {
        forgetRequests();
        ask(api);
        QTRY_COMPARE(requests(), 1);
        reply(0, body, status);
        QTRY_COMPARE(text, std::optional(QString()));
        QCOMPARE(error, QString::fromUtf8(wanted));
    }
}

void ApiTest::listings()
{
    bible::Api api(peer->endpoint());
    const auto listed = [&](const char *body, int status = 200) {
        forgetRequests();
        QStringList parts;
        api.bibles(u"k"_s, u"spa"_s, [&](auto &bibles, auto &failure) {
            for (const bible::ListedBible &entry : bibles) {
                parts << entry.id << entry.text;
            }
            parts << QString::number(bible::preferredBible(bibles)) << failure;
        });
        if (QTest::qWaitFor([this] { return requests() == 1; })) {
            reply(0, body, status);
        }
        return QTest::qWaitFor([&] { return !parts.isEmpty(); }) ? parts.join(u'|') : QString();
    };
    QCOMPARE(listed(R"({"data":[{"id":"a","name":"Biblia","abbreviation":"B"},
                       {"id":"b","name":"Reina Valera 1960","abbreviation":"RVR60"},
                       {"id":"c","name":"Otra 1960","abbreviation":"O"}]})"),
        u"a|Biblia (B)|b|Reina Valera 1960 (RVR60)|c|Otra 1960 (O)|1|"_s);
    QCOMPARE(sent("path"), u"/v1/bibles?language=spa"_s);
    QCOMPARE(listed(R"({"data":[{"id":"a","name":7},"x"]})"), u"a| ()|| ()|0|"_s);
    QCOMPARE(listed("no"), u"-1|"_s);
    QCOMPARE(listed("", 403), u"-1|API.Bible: clave no válida o sin permiso para esa Biblia"_s);
}

void ApiTest::refusedReferences()
{
    bible::Api api(peer->endpoint());
    for (const bible::Ref &ref :
        { bible::Ref {}, { 66, 1, 1, 1 }, { 42, 0, 1, 1 }, { 42, 3, 18, 16 } }) {
        ask(api, ref);
        QVERIFY(text); // at once: nothing is sent
        QCOMPARE(error, u"Cita no válida"_s);
    }
}

void ApiTest::unreachable()
{
    nimbara::Endpoint closed = peer->endpoint();
    nimbara::Endpoint untrusted = peer->endpoint();
    untrusted.trustedCaPem.clear();
    {
        QTcpServer free;
        QVERIFY(free.listen(QHostAddress::LocalHost));
        closed.port = free.serverPort();
    }
    for (const auto &[endpoint, timeout, received] :
        { std::tuple { closed, 15s, 0 }, { untrusted, 15s, 0 }, { peer->endpoint(), 1s, 1 } }) {
        bible::Api api(endpoint, timeout);
        ask(api);
        QTRY_COMPARE(text, std::optional(QString()));
        QCOMPARE(error, u"API.Bible: sin respuesta (HTTP 0)"_s);
        QCOMPARE(requests(), received); // the key went to nobody else
    }
}

void ApiTest::otherHostGetsNoKey()
{
    // The certificate is good for both names: only the redirect rule keeps the key back.
    const auto port = QByteArray::number(peer->endpoint().port);
    bible::Api api(peer->endpoint());
    ask(api);
    QTRY_COMPARE(requests(), 1);
    peer->command(R"({"do":"answer","base64":"","status":302,"id":)"
        + QByteArray::number(request().value(QLatin1String("id")).toInt())
        + R"(,"headers":{"Location":"https://localhost:)" + port + R"(/v1/elsewhere"}})");
    QTRY_COMPARE(text, std::optional(QString()));
    QCOMPARE(error, u"API.Bible: sin respuesta (HTTP 302)"_s);
    QCOMPARE(requests(), 1);
}

NIMBARA_TEST(ApiTest)
#include "api_test.moc"
