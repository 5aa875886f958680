#include "app/error.h"
#include "bible/verse_lookup.h"
#include "peer_test.h"
#include "support/test_registry.h"

#include <QJsonDocument>
#include <QPromise>
#include <QSet>

#include <map>

using namespace Qt::StringLiterals;
using bible::VerseLookup;
using bible::VerseUpdate;

namespace {

const auto john = u"Juan 3:16"_s;
const auto spanish = u"es"_s;
const auto online = u"api"_s;

QByteArray passage(const char *text)
{
    return QByteArray(R"({"data":{"content":")") + text + R"("}})";
}

/// A lookup whose owner has verse layers by number, as the studio has.
struct Desk {
    explicit Desk(const nimbara::Endpoint &endpoint, QFuture<void> ready = bible::prepare())
        : api(endpoint)
        , translator(endpoint)
        , lookup(std::make_unique<VerseLookup>(api, translator, std::move(ready)))
    {
        lookup->statusChanged = [this](auto, const QString &text) { said << text; };
        lookup->failed = [this](const QString &text) { failures << text; };
        lookup->holdsVerse = [this](auto layer) { return !gone.contains(layer); };
        lookup->updateLayer = [this](auto layer, const VerseUpdate &update) {
            layers[layer] = update;
            ++writes;
        };
        lookup->apiBibleKey = lookup->openAiKey = [this](const auto &receiver) { receiver(key); };
    }
    void ask(const QString &typed, const QString &choice, VerseLookup::LayerId layer = 1) const
    {
        lookup->lookupVerse(layer, typed, { choice, bibleId, u"Reina Valera 1960 (RVR60)"_s });
    }

    bible::Api api;
    bible::VerseTranslator translator;
    std::unique_ptr<VerseLookup> lookup;
    QString key = u"secret"_s;
    QString bibleId = u"bib-01"_s;
    QSet<VerseLookup::LayerId> gone;
    std::map<VerseLookup::LayerId, VerseUpdate> layers;
    int writes = 0;
    QStringList said;
    QStringList failures;
};

} // namespace

class VerseLookupTest : public PeerTest {
    Q_OBJECT

private Q_SLOTS:
    void builtInText();
    void onlineText();
    void translation();
    void failedTranslations();
    void lastAnswerStands();
    void failedLookupChangesNothing();
    void lateReplies_data();
    void lateReplies();
    void endWithACallUnderWay();
    void waitsForTheBibles();
};

void VerseLookupTest::builtInText()
{
    bible::prepare().waitForFinished();
    const char *incomplete = "Versículo mostrado con RV1909: configura la clave y la Biblia de "
                             "API.Bible en la pestaña Traducción IA y Biblia.";
    const char *noKey
        = "Versículo en español; para traducirlo a otro idioma añade la API key de OpenAI.";
    for (const auto &[choice, key, id, english, status] :
        { std::tuple { "es", "", "", false, "Versículo listo: Juan 3:16" },
            { "en", "", "", true, "Versículo listo: John 3:16" },
            { "api", "", "bib", false, incomplete },
            { "api", "key", "", false, incomplete },
            { "other:français", "", "", false, noKey } }) {
        Desk desk(peer->endpoint());
        desk.key = QLatin1String(key);
        desk.bibleId = QLatin1String(id);
        desk.ask(john, QString::fromUtf8(choice));
        const VerseUpdate &shown = desk.layers[1]; // at once
        QCOMPARE(shown.name, std::optional(english ? u"John 3:16"_s : john));
        QCOMPARE(shown.reference,
            english ? u"John 3:16 · King James Version"_s : u"Juan 3:16 · Reina-Valera 1909"_s);
        QVERIFY(shown.text.startsWith(QLatin1String(english ? "For God so" : "Porque de tal")));
        QCOMPARE(desk.said, QStringList { QString::fromUtf8(status) });
    }
}

void VerseLookupTest::onlineText()
{
    Desk desk(peer->endpoint());
    desk.ask(u"Juan 3:16-18"_s, online);
    QCOMPARE(desk.said, QStringList { u"Consultando API.Bible..."_s });
    QTRY_COMPARE(requests(), 1);
    reply(0, passage("en línea"));
    QTRY_COMPARE(desk.said.last(), u"Versículo listo: Juan 3:16-18"_s);
    const VerseUpdate wanted { std::nullopt, u"en línea"_s, u"Juan 3:16-18 · Reina Valera 1960"_s };
    QCOMPARE(desk.layers[1], wanted);

    desk.ask(john, online);
    QTRY_COMPARE(requests(), 2);
    reply(1, passage("no"), 500);
    QTRY_COMPARE(desk.said.last(), u"API.Bible: sin respuesta (HTTP 500) · se mantiene RV1909"_s);
    QCOMPARE(desk.layers[1].reference, u"Juan 3:16 · Reina-Valera 1909"_s);
}

void VerseLookupTest::translation()
{
    Desk desk(peer->endpoint());
    desk.ask(u"Salmos 23:1-2"_s, u"other:português"_s);
    QCOMPARE(desk.said, QStringList { u"Traduciendo versículo..."_s });
    QTRY_COMPARE(requests(), 1);
    QCOMPARE(sent("method"), u"POST"_s);
    QCOMPARE(sent("path"), u"/v1/responses"_s);
    QCOMPARE(header("authorization"), u"Bearer secret"_s);
    QCOMPARE(header("content-type"), u"application/json"_s);
    const QJsonObject wanted {
        { u"model"_s, u"gpt-4.1-mini"_s },
        { u"instructions"_s,
            u"Translate this Bible passage faithfully into português. Return only "
            "the translated passage, no commentary."_s },
        { u"input"_s, desk.layers[1].text },
        { u"max_output_tokens"_s, 800 },
        { u"store"_s, false },
    };
    QCOMPARE(sent("body").toUtf8(), QJsonDocument(wanted).toJson(QJsonDocument::Compact));
    reply(0, R"({"output":[{"type":"reasoning"},{"content":[
        {"type":"output_text","text":" O Senhor"},{"type":"refusal","text":"no"}]},
        {"content":[{"type":"output_text","text":" é o meu pastor\n"}]}]})");
    QTRY_COMPARE(desk.said.last(), u"Versículo listo: Psalms 23:1-2"_s);
    QCOMPARE(desk.layers[1],
        (VerseUpdate { std::nullopt,
            u"O Senhor é o meu pastor"_s,
            u"Psalms 23:1-2 · traducción automática"_s }));
}

void VerseLookupTest::failedTranslations()
{
    const QByteArray good = R"({"output":[{"content":[{"type":"output_text","text":"x"}]}]})";
    const QByteArray blank = QByteArray(good).replace('x', " ");
    Desk desk(peer->endpoint());
    for (const auto &[status, body] :
        { std::pair { 401, good }, { 500, good }, { 200, blank }, { 200, "x" } }) {
        forgetRequests();
        desk.said.clear();
        desk.ask(john, u"other:português"_s);
        QTRY_COMPARE(requests(), 1);
        reply(0, body, status);
        QTRY_COMPARE(desk.said.size(), 2);
        QCOMPARE(desk.said.last(),
            u"No se pudo traducir el versículo (revisa la API key de OpenAI)"_s);
    }
    QCOMPARE(desk.writes, 4);
}

void VerseLookupTest::lastAnswerStands()
{
    Desk desk(peer->endpoint());
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

void VerseLookupTest::failedLookupChangesNothing()
{
    Desk desk(peer->endpoint());
    desk.ask(john, online);
    QVERIFY_EXCEPTION_THROWN(desk.ask(u"Juan"_s, online), nimbara::Error);
    QVERIFY_EXCEPTION_THROWN(desk.ask(u"Judas 2:1"_s, online), nimbara::Error);
    QCOMPARE(desk.writes, 1);
    QTRY_COMPARE(requests(), 1);
    reply(0, passage("en línea")); // the earlier lookup is still good
    QTRY_COMPARE(desk.layers[1].text, u"en línea"_s);
}

void VerseLookupTest::lateReplies_data()
{
    QTest::addColumn<std::function<void(Desk &)>>("event");
    using Event = std::function<void(Desk &)>;
    QTest::newRow("the layer is gone") << Event([](Desk &desk) { desk.gone.insert(1); });
    QTest::newRow("the lookup is gone") << Event([](Desk &desk) { desk.lookup.reset(); });
}

void VerseLookupTest::lateReplies()
{
    QFETCH(std::function<void(Desk &)>, event);
    for (const int status : { 200, 500 }) {
        forgetRequests();
        Desk desk(peer->endpoint());
        desk.ask(john, online);
        QTRY_COMPARE(requests(), 1);
        event(desk);
        reply(0, passage("tarde"), status);
        bool heard = false; // one more exchange: by then the late reply has been read
        desk.api.passage(desk.key, desk.bibleId, { 0, 1, 0, 0 }, [&](auto &, auto &) {
            heard = true;
        });
        QTRY_COMPARE(requests(), 2);
        reply(1, {});
        QTRY_VERIFY(heard);
        QCOMPARE(desk.writes, 1);
        QCOMPARE(desk.said.size(), 1);
    }
}

void VerseLookupTest::endWithACallUnderWay()
{
    auto first = std::make_unique<Desk>(peer->endpoint());
    first->ask(john, online);
    QTRY_COMPARE(requests(), 1);
    first.reset();
    reply(0, passage("tarde")); // to nobody
    Desk second(peer->endpoint());
    second.ask(john, online);
    QTRY_COMPARE(requests(), 2);
    reply(1, passage("en línea"));
    QTRY_COMPARE(second.layers[1].text, u"en línea"_s);
}

void VerseLookupTest::waitsForTheBibles()
{
    QPromise<void> loading;
    loading.start();
    Desk desk(peer->endpoint(), loading.future());
    QVERIFY_EXCEPTION_THROWN(desk.ask(u"xyz 1"_s, spanish), nimbara::Error);
    desk.ask(john, spanish, 1);
    desk.ask(u"Judas 2:1"_s, spanish, 2);
    desk.ask(john, spanish, 3);
    desk.ask(john, u"en"_s, 1); // follows the first
    desk.gone.insert(3);
    QCoreApplication::processEvents();
    QCOMPARE(desk.writes, 0);
    loading.finish();
    desk.ask(u"Juan 11:35"_s, spanish, 2); // before the event loop told of it: in its turn
    QTRY_COMPARE(desk.failures, QStringList { u"Esa cita no existe en la Biblia"_s });
    const QStringList said { u"Versículo listo: Juan 3:16"_s,
        u"Versículo listo: John 3:16"_s,
        u"Versículo listo: Juan 11:35"_s };
    QTRY_COMPARE(desk.said, said);
    QCOMPARE(desk.layers[1].name, std::optional(u"John 3:16"_s));
    QCOMPARE(desk.writes, 3);
}

NIMBARA_TEST(VerseLookupTest)
#include "verse_lookup_test.moc"
