#include "base/error.h"
#include "bible/verse_lookup.h"
#include "support/api_peer.h"
#include "support/error_of.h"
#include "support/test_registry.h"

#include <QJsonDocument>
#include <QPromise>
#include <QSet>
#include <QTcpServer>

#include <map>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using bible::VerseLookup;
using bible::VerseUpdate;
using namespace nimbara::testing;

namespace {

const auto john = u"Juan 3:16"_s;
const auto spanish = u"es"_s;
const auto online = u"api"_s;
const auto portuguese = u"other:português"_s;

QByteArray passage(const char *text)
{
    return QByteArray(R"({"data":{"content":")") + text + R"("}})";
}

/// A lookup whose owner has verse layers by number, as the studio has.
struct Desk {
    explicit Desk(const nimbara::Endpoint &endpoint,
        std::chrono::milliseconds timeout = 15s,
        QFuture<void> ready = bible::prepare())
        : api(endpoint, timeout)
        , translator(endpoint)
        , lookup(std::make_unique<VerseLookup>(api, translator, std::move(ready)))
    {
        lookup->statusChanged
            = [this](auto, const nimbara::Message &text) { said << text.spanish(); };
        lookup->failed = [this](const nimbara::Message &text) { failures << text.spanish(); };
        lookup->holdsVerse = [this](auto layer) { return !gone.contains(layer); };
        lookup->updateLayer = [this](auto layer, const VerseUpdate &update) {
            layers[layer] = update;
            ++writes;
        };
        lookup->apiBibleKey = lookup->openAiKey = [this](const auto &receiver) { receiver(key); };
    }
    void ask(const QString &typed, const QString &choice, VerseLookup::LayerId layer = 1) const
    {
        lookup->lookupVerse(layer, typed, { choice, bibleId, bibleName });
    }

    bible::Api api;
    bible::VerseTranslator translator;
    std::unique_ptr<VerseLookup> lookup;
    QString key = u"secret"_s;
    QString bibleId = u"bib-01"_s;
    QString bibleName = u"Reina Valera 1960 (RVR60)"_s;
    QSet<VerseLookup::LayerId> gone;
    std::map<VerseLookup::LayerId, VerseUpdate> layers;
    int writes = 0;
    QStringList said;
    QStringList failures;
};

} // namespace

/// Against a local server over TLS that answers when the test says so.
class VerseLookupTest : public QObject {
    Q_OBJECT

    [[nodiscard]] int requests() const { return m_peer.count("request"); }
    [[nodiscard]] QJsonObject request() const { return m_peer.of("request").front(); }
    [[nodiscard]] QString header(const char *name) const
    {
        return field(request()[u"headers"_s].toObject(), name);
    }
    void reply(std::size_t index, const QByteArray &body, int status = 200)
    {
        m_peer.answer(m_peer.of("request").at(index), body, status);
    }

    ApiPeer m_peer;

private Q_SLOTS:
    void initTestCase() { bible::prepare().waitForFinished(); }
    void init() { m_peer.events.clear(); }

    void choices()
    {
        for (const auto &[stored, target, choice] : { std::tuple { "es", "Deutsch", "es" },
                 { "en", "Deutsch", "en" },
                 { "api", "Deutsch", "api" },
                 { "auto", "  INGLÉS (británico) ", "en" },
                 { "auto", "Español", "es" },
                 { "auto", "spanish (Mexico)", "es" },
                 { "auto", " Português ", "other:português" },
                 { "EN", "Français", "other:français" } }) {
            QCOMPARE(
                bible::bibleChoice(QString::fromUtf8(stored), QString::fromUtf8(target)).toUtf8(),
                QByteArray(choice));
        }
    }

    void onlineText()
    {
        Desk desk(m_peer.endpoint());
        // A key as it may be pasted, with a line break that must not begin another header.
        desk.key = u"k-ñ\r\nx-a: 1"_s;
        for (const auto &[typed, id, numbered, listed, source] :
            { std::tuple { "Juan 3:16", "JHN.3.16", "false", "Bi (2a ed.) (X)", "Bi" },
                { "Juan 3:16-18", "JHN.3.16-JHN.3.18", "true", "bib-01", "bib-01" },
                { "Salmos 23", "PSA.23", "false", "", "API.Bible" } }) {
            init();
            desk.said.clear();
            desk.bibleName = QLatin1String(listed);
            desk.ask(QLatin1String(typed), online);
            QCOMPARE(desk.said, QStringList { u"Consultando API.Bible..."_s });
            QTRY_COMPARE(requests(), 1);
            QCOMPARE(field(request(), "method"), u"GET"_s);
            QCOMPARE(field(request(), "path"),
                u"/v1/bibles/bib-01/passages/%1?content-type=text&include-notes=false"
                "&include-titles=false&include-chapter-numbers=false"
                "&include-verse-numbers=%2&include-verse-spans=false"_s.arg(QLatin1String(id),
                    QLatin1String(numbered)));
            QCOMPARE(header("api-key").toLatin1(), QByteArray("k-\xc3\xb1x-a: 1")); // UTF-8 bytes
            QCOMPARE(header("x-a"), QString());
            reply(0, passage("  [16] Porque\\n   de tal \\t manera "));
            QTRY_COMPARE(desk.said.last(), u"Versículo listo: "_s + QLatin1String(typed));
            const VerseUpdate wanted { std::nullopt,
                u"[16] Porque de tal manera"_s,
                QLatin1String(typed) + u" · "_s + QLatin1String(source) };
            QCOMPARE(desk.layers[1], wanted);
        }
    }

    void failedPassages()
    {
        const QByteArray full = passage("texto");
        const char *refused = "API.Bible: clave no válida o sin permiso para esa Biblia";
        const char *empty = "API.Bible no devolvió texto para esa cita";
        Desk desk(m_peer.endpoint());
        for (const auto &[status, body, wanted] : { std::tuple { 401, full, refused },
                 { 403, full, refused },
                 { 404, full, "API.Bible: sin respuesta (HTTP 404)" },
                 { 500, full, "API.Bible: sin respuesta (HTTP 500)" },
                 { 200, "<html>texto</html>", empty },
                 { 200, R"({"data":[]})", empty },
                 { 200, passage(" \\n\\t "), empty } }) {
            init();
            desk.ask(john, online);
            QTRY_COMPARE(requests(), 1);
            reply(0, body, status);
            QTRY_COMPARE(desk.said.last(), QString::fromUtf8(wanted) + u" · se mantiene RV1909"_s);
            QCOMPARE(desk.layers[1].reference, u"Juan 3:16 · Reina-Valera 1909"_s);
        }
        for (const bible::Ref &ref :
            { bible::Ref {}, { 66, 1, 1, 1 }, { 42, 0, 1, 1 }, { 42, 3, 18, 16 } }) {
            QString told;
            desk.api.passage(desk.key, desk.bibleId, ref, [&](auto &, auto &error) {
                told = error.spanish();
            });
            QCOMPARE(told, u"Cita no válida"_s); // at once: nothing is sent
        }
    }

    void spansComeOneAfterTheOther()
    {
        Desk desk(m_peer.endpoint());
        for (const int status : { 200, 500 }) {
            init();
            desk.ask(u"Juan 3:16,18; 4:54-5:2"_s, online);
            QStringList asked;
            for (const char *text : { "[16] a", "[18] b", "[54] c" }) {
                QTRY_COMPARE(requests(), asked.size() + 1);
                const QString path = field(m_peer.of("request").back(), "path");
                asked << path.section(u'/', -1).section(u'?', 0, 0);
                QVERIFY(path.contains(u"verse-numbers=true"));
                reply(static_cast<std::size_t>(asked.size()) - 1,
                    passage(text),
                    asked.size() == 2 ? status : 200);
                if (asked.size() == 2 && status != 200) {
                    break; // what comes behind it is not asked for
                }
            }
            QTRY_VERIFY(desk.said.last() != u"Consultando API.Bible..."_s);
            QCOMPARE(asked.first() + asked.at(1), u"JHN.3.16JHN.3.18"_s);
            QVERIFY(status != 200 || asked.last() == u"JHN.4.54-JHN.5.2"_s);
            QVERIFY(status != 200 || desk.layers[1].text == u"[16] a [18] b [54] c"_s);
            QCOMPARE(desk.said.last(),
                status == 200 ? u"Versículo listo: Juan 3:16,18; 4:54-5:2"_s
                              : u"API.Bible: sin respuesta (HTTP 500) · se mantiene RV1909"_s);
        }
    }

    void namedBibles()
    {
        Desk desk(m_peer.endpoint());
        desk.ask(u"Juan 3:16 KJV"_s, spanish);
        QCOMPARE(desk.layers[1].reference, u"John 3:16 · King James Version"_s);
        desk.ask(u"John 3:16 RVR"_s, u"en"_s);
        QCOMPARE(desk.layers[1].reference, u"Juan 3:16 · Reina-Valera 1909"_s);
        desk.ask(u"Juan 3:16 (RVR60)"_s, spanish);
        QCOMPARE(desk.said.last(), u"Consultando API.Bible..."_s);
        QCOMPARE(errorOf([&] { desk.ask(u"Juan 3:16 NVI"_s, spanish); }),
            u"La Biblia NVI no está incluida ni es la elegida de API.Bible"_s);
        desk.bibleId.clear();
        QVERIFY_EXCEPTION_THROWN(desk.ask(u"Juan 3:16 RVR60"_s, spanish), nimbara::Error);
    }

    void refusalsTellWhatThereIs()
    {
        const Desk desk(m_peer.endpoint());
        for (const auto &[typed, choice, wanted] :
            { std::tuple { "Juan", "es", "Cita no reconocida. Ejemplo: Juan 3:16 o Salmos 23" },
                { "Juan 3:99",
                    "es",
                    "Esa cita no existe en la Biblia. Juan 3 tiene 36 versículos." },
                { "Juan 22", "en", "Esa cita no existe en la Biblia. John tiene 21 capítulos." },
                { "Judas 2:1", "es", "Esa cita no existe en la Biblia. Judas tiene 1 capítulo." },
                { "ju 99", "es", "Esa cita no existe en la Biblia" },
                { "Juan 0:1", "es", "Cita no reconocida. Ejemplo: Juan 3:16 o Salmos 23" },
                { "Jonás 1:17", // was refused without a reason
                    "es",
                    "Esa cita no existe en la Biblia. En Reina-Valera 1909, Jonás 1 tiene 16 "
                    "versículos." },
                { "ju 3:16", "es", "La cita puede ser: Jueces 3:16 · Juan 3:16" },
                { "ju 3:16 kjv", "en", "La cita puede ser: Judges 3:16 KJV · John 3:16 KJV" } }) {
            QCOMPARE(errorOf([&, text = QString::fromUtf8(typed), from = QLatin1String(choice)] {
                desk.ask(text, from);
            }),
                QString::fromUtf8(wanted));
        }
        try {
            desk.ask(u"ju 3:16 kjv"_s, spanish);
            QFAIL("a doubt was not told");
        } catch (const bible::DoubtfulReference &doubt) {
            desk.ask(doubt.offers().at(1), spanish);
            QCOMPARE(desk.layers.at(1).reference, u"John 3:16 · King James Version"_s);
        }
    }

    void unreachable()
    {
        nimbara::Endpoint closed = m_peer.endpoint();
        nimbara::Endpoint untrusted = m_peer.endpoint();
        untrusted.trustedCaPem.clear();
        {
            QTcpServer free;
            QVERIFY(free.listen(QHostAddress::LocalHost));
            closed.port = free.serverPort();
        }
        for (const auto &[endpoint, timeout, received] : { std::tuple { closed, 15s, 0 },
                 { untrusted, 15s, 0 },
                 { m_peer.endpoint(), 1s, 1 } }) {
            Desk desk(endpoint, timeout);
            desk.ask(john, online);
            QTRY_COMPARE(desk.said.last(),
                u"API.Bible: sin respuesta (HTTP 0) · se mantiene RV1909"_s);
            QCOMPARE(requests(), received); // the key went to nobody else
        }
    }

    void otherHostGetsNoKey()
    {
        // The certificate is good for both names: only the redirect rule keeps the key back.
        Desk desk(m_peer.endpoint());
        desk.ask(john, online);
        QTRY_COMPARE(requests(), 1);
        const auto id = QByteArray::number(request()[u"id"_s].toInt());
        const auto port = QByteArray::number(m_peer.endpoint().port);
        m_peer.command("{\"do\":\"answer\",\"base64\":\"\",\"status\":302,\"id\":" + id
            + ",\"headers\":{\"Location\":\"https://localhost:" + port + "/v1/elsewhere\"}}");
        QTRY_COMPARE(desk.said.last(),
            u"API.Bible: sin respuesta (HTTP 302) · se mantiene RV1909"_s);
        QCOMPARE(requests(), 1);
    }

    void listings()
    {
        bible::Api api(m_peer.endpoint());
        const char *three = R"({"data":[{"id":"a","name":"Biblia","abbreviation":"B"},
            {"id":"b","name":"Reina Valera 1960","abbreviation":"RVR60"},
            {"id":"c","name":"Otra 1960","abbreviation":"O"}]})";
        for (const auto &[status, body, wanted] :
            { std::tuple { 200,
                  three,
                  "a|Biblia (B)|b|Reina Valera 1960 (RVR60)|c|Otra 1960 (O)|1|" },
                { 200, R"({"data":[{"id":"a","name":7},"x"]})", "a| ()|| ()|0|" },
                { 200, "no", "-1|" },
                { 403, "", "-1|API.Bible: clave no válida o sin permiso para esa Biblia" } }) {
            init();
            QStringList parts;
            api.bibles(u"k"_s, u"spa"_s, [&](auto &bibles, auto &failure) {
                for (const bible::ListedBible &entry : bibles) {
                    parts << entry.id << entry.text;
                }
                parts << QString::number(bible::preferredBible(bibles)) << failure.spanish();
            });
            QTRY_COMPARE(requests(), 1);
            QCOMPARE(field(request(), "path"), u"/v1/bibles?language=spa"_s);
            reply(0, body, status);
            QTRY_COMPARE(parts.join(u'|'), QString::fromUtf8(wanted));
        }
    }

    void translation()
    {
        Desk desk(m_peer.endpoint());
        desk.ask(u"Salmos 23:1-2"_s, portuguese);
        QCOMPARE(desk.said, QStringList { u"Traduciendo versículo..."_s });
        QTRY_COMPARE(requests(), 1);
        QCOMPARE(field(request(), "method"), u"POST"_s);
        QCOMPARE(field(request(), "path"), u"/v1/responses"_s);
        QCOMPARE(header("authorization"), u"Bearer secret"_s);
        QCOMPARE(header("content-type"), u"application/json"_s);
        QCOMPARE(field(request(), "body"),
            uR"({"input":"%1","instructions":"Translate this Bible passage faithfully into português. Return only the translated passage, no commentary.","max_output_tokens":800,"model":"gpt-4.1-mini","store":false})"_s
                .arg(desk.layers[1].text));
        reply(0, R"({"output":[{"type":"reasoning"},{"content":[
            {"type":"output_text","text":" O Senhor"},{"type":"refusal","text":"no"}]},
            {"content":[{"type":"output_text","text":" é o meu pastor\n"}]}]})");
        QTRY_COMPARE(desk.said.last(), u"Versículo listo: Psalms 23:1-2"_s);
        const VerseUpdate translated { std::nullopt,
            u"O Senhor é o meu pastor"_s,
            u"Psalms 23:1-2 · traducción automática"_s };
        QCOMPARE(desk.layers[1], translated);

        const QByteArray good = R"({"output":[{"content":[{"type":"output_text","text":"x"}]}]})";
        const QByteArray blank = QByteArray(good).replace('x', " ");
        const QByteArray cut = QByteArray(good).replace(0, 1, R"({"status":"incomplete",)");
        const auto failed = u"No se pudo traducir el versículo (revisa la API key de OpenAI)"_s;
        const auto cutShort
            = u"La traducción del versículo llegó incompleta · se mantiene RV1909"_s;
        for (const auto &[status, body, told] : { std::tuple { 401, good, failed },
                 { 500, good, failed },
                 { 200, blank, failed },
                 { 200, "x", failed },
                 { 200, cut, cutShort } }) {
            init();
            desk.ask(john, portuguese);
            QTRY_COMPARE(requests(), 1);
            reply(0, body, status);
            QTRY_COMPARE(desk.said.last(), told);
            QCOMPARE(desk.layers[1].reference, u"Juan 3:16 · Reina-Valera 1909"_s);
        }
        init();
        desk.ask(u"Salmos 119"_s, portuguese); // the longest chapter may take a token a letter
        QTRY_COMPARE(requests(), 1);
        QCOMPARE(QJsonDocument::fromJson(field(request(), "body").toUtf8())["max_output_tokens"_L1],
            QJsonValue(desk.layers[1].text.size()));
    }

    void lastAnswerStands()
    {
        Desk desk(m_peer.endpoint());
        int asked = 0;
        for (const VerseLookup::LayerId layer : { 1, 1, 2 }) {
            desk.ask(asked == 1 ? u"Juan 11:35"_s : john, online, layer);
            ++asked;
            QTRY_COMPARE(requests(), asked);
        }
        reply(2, passage("otra capa"));
        QTRY_COMPARE(desk.layers[2].text, u"otra capa"_s);
        reply(1, passage("nuevo"));
        QTRY_COMPARE(desk.layers[1].text, u"nuevo"_s);
        QCOMPARE(desk.layers[1].reference, u"Juan 11:35 · Reina Valera 1960"_s);
        reply(0, passage("viejo"));
        QTRY_COMPARE(desk.layers[1].text, u"viejo"_s);
        QCOMPARE(desk.layers[1].reference, u"Juan 3:16 · Reina Valera 1960"_s);
        QCOMPARE(desk.layers[2].text, u"otra capa"_s);
    }

    void refusedLookupChangesNothing()
    {
        Desk desk(m_peer.endpoint());
        desk.ask(john, online);
        QVERIFY_EXCEPTION_THROWN(desk.ask(u"Juan"_s, online), nimbara::Error);
        QVERIFY_EXCEPTION_THROWN(desk.ask(u"Jonás 1:17"_s, online), nimbara::Error); // left empty
        QCOMPARE(desk.writes, 1);
        QTRY_COMPARE(requests(), 1);
        reply(0, passage("en línea")); // the earlier lookup is still good
        QTRY_COMPARE(desk.layers[1].text, u"en línea"_s);
        desk.key.clear();
        desk.ask(john, online);
        QVERIFY(desk.said.last().startsWith(u"Versículo mostrado con RV1909: configura la clave"));

        QCOMPARE(errorOf([] {
            return bible::builtInVerse({}, { 42, { { 3, 16, 3, 16 } } }, spanish);
        }),
            u"Biblia incluida no disponible"_s);
    }

    void lateRepliesReachNobody()
    {
        bible::Api witness(m_peer.endpoint());
        const auto answerLate = [&](int status) {
            reply(0, passage("tarde"), status);
            bool heard = false; // one more exchange: by then the late reply has been read
            witness.passage(u"k"_s, u"b"_s, { 0, 1, 0, 0 }, [&](auto &, auto &) { heard = true; });
            QTRY_COMPARE(requests(), 2);
            reply(1, {});
            QTRY_VERIFY(heard);
        };
        const std::function<void(std::unique_ptr<Desk> &)> ways[] {
            [](auto &desk) { desk->gone.insert(1); },
            [](auto &desk) { desk->lookup.reset(); },
            [](auto &desk) { desk.reset(); },
        };
        for (const auto &goesAway : ways) {
            for (const int status : { 200, 500 }) {
                init();
                auto desk = std::make_unique<Desk>(m_peer.endpoint());
                desk->ask(john, online);
                QTRY_COMPARE(requests(), 1);
                goesAway(desk);
                answerLate(status);
                QVERIFY(!desk || (desk->writes == 1 && desk->said.size() == 1));
            }
        }
    }

    void waitsForTheBibles()
    {
        QPromise<void> loading;
        loading.start();
        Desk desk(m_peer.endpoint(), 15s, loading.future());
        QVERIFY_EXCEPTION_THROWN(desk.ask(u"xyz 1"_s, spanish), nimbara::Error);
        desk.ask(john, spanish, 1);
        desk.ask(u"Jonás 1:17"_s, spanish, 2);
        desk.ask(john, spanish, 3);
        desk.ask(john, u"en"_s, 1); // follows the first
        desk.gone.insert(3);
        QCoreApplication::processEvents();
        QCOMPARE(desk.writes, 0);
        loading.finish();
        desk.ask(u"Juan 11:35"_s, spanish, 2); // before the event loop told of it: in its turn
        QTRY_COMPARE(desk.failures,
            QStringList {
                u"Esa cita no existe en la Biblia. En Reina-Valera 1909, Jonás 1 tiene 16 versículos."_s });
        const QStringList said { u"Versículo listo: Juan 3:16"_s,
            u"Versículo listo: John 3:16"_s,
            u"Versículo listo: Juan 11:35"_s };
        QTRY_COMPARE(desk.said, said);
        QCOMPARE(desk.layers[1].name, std::optional(u"John 3:16"_s));
        QCOMPARE(desk.writes, 3);
    }
};

NIMBARA_TEST(VerseLookupTest)
#include "verse_lookup_test.moc"
