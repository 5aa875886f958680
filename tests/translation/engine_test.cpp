#include "base/error.h"
#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/engine.h"
#include "translation/signal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QtEndian>

#include <algorithm>
#include <array>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The engine against a server of the API over TLS, with the clock cranked by hand.
class EngineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void uploadsPhrases_data();
    void uploadsPhrases();
    void translatesInContext();
    void showsEveryOrderInOrder();
    void skipsAPhraseThatNeverComes();
    void goesOnAfterFailures_data();
    void goesOnAfterFailures();
    void stopsAfterFatalFailures();
    void showsNothingOfAnOldRun();
    void obeysStopsFromCallbacks();
    void limitsWhatIsUnderWay();
    void speaksCaptions();
    void sendsOnlyWhileRunning();
    void pausesAfterThreeHours();
    void changesRoads_data();
    void changesRoads();
    void sendsWhatWasSaidBeforeTheSession();

private:
    void start(bool live = false, bool voice = false, const QString &source = u"es"_s);
    void startLive();
    void speak(int phrases = 1);
    void turn(const QString &text);
    /// The requests of this path, in their order, once there are so many.
    std::vector<QJsonObject> await(const char *path, std::size_t count);
    void transcribe(const QJsonObject &upload, const QString &text);
    void translate(const QJsonObject &request, const QString &text);

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<Translation> m_engine;
    QStringList m_statuses;
    QStringList m_captions;
    QStringList m_heard;
    QByteArrayList m_voices;
};

namespace {

constexpr const char *transcriptions = "/v1/audio/transcriptions";
constexpr const char *responses = "/v1/responses";
constexpr const char *speeches = "/v1/audio/speech";
const QString liveActive = u"Modo en vivo activo (texto mientras se habla)."_s;

QJsonObject bodyOf(const QJsonObject &request)
{
    return QJsonDocument::fromJson(field(request, "body").toUtf8()).object();
}

QByteArray fileOf(const QJsonObject &upload)
{
    const QJsonArray parts = upload[u"form"].toArray();
    for (const auto &part : parts) {
        if (part.toObject().contains(u"file")) {
            return QByteArray::fromBase64(field(part.toObject(), "base64").toLatin1());
        }
    }
    return {};
}

double voicedMs(const QByteArray &wav)
{
    int voiced = 0;
    for (qsizetype at = 44; at < wav.size(); at += 2) {
        voiced += qFromLittleEndian<qint16>(wav.constData() + at) > 300 ? 1 : 0;
    }
    return voiced / 16.0;
}

} // namespace

void EngineTest::init()
{
    m_peer.live("accept");
    m_peer.events.clear();
    m_peer.onEvent = {};
    m_engine = std::make_unique<Translation>(m_clock, m_peer.endpoint());
    m_engine->statusChanged = [this](const Message &text) { m_statuses.append(text.spanish()); };
    m_engine->caption = [this](const QString &text) { m_captions.append(text); };
    m_engine->heard = [this](const Message &text) { m_heard.append(text.spanish()); };
    m_engine->voiceAudio = [this](const QByteArray &pcm) { m_voices.append(pcm); };
}

void EngineTest::cleanup()
{
    m_engine.reset();
    QVERIFY2(!(m_statuses + m_captions + m_heard).join(u' ').contains(u"sk-secret"),
        "the key leaked");
    for (QStringList *list : { &m_statuses, &m_captions, &m_heard }) {
        list->clear();
    }
}

void EngineTest::start(bool live, bool voice, const QString &source)
{
    m_engine->setLiveDisabled(!live);
    m_engine->start(u" sk-secret\n"_s, u"English"_s, voice, source);
}

void EngineTest::startLive()
{
    m_peer.events.clear();
    m_statuses.clear();
    start(true);
    QTRY_COMPARE(m_peer.count("text"), 1);
    m_peer.send(R"({"type":"session.updated"})");
    QTRY_COMPARE(m_statuses,
        (QStringList { u"IA activa; conectando modo en vivo..."_s, liveActive }));
}

/// Phrases of 1.9 s each.
void EngineTest::speak(int phrases)
{
    for (int i = 0; i < phrases; ++i) {
        inPieces(signal({ { 1200, 0.2 }, { 700, 0 } }), 960, [this](const AudioBlock &piece) {
            m_engine->processAudio(piece);
        });
    }
}

/// A transcript of the live session.
void EngineTest::turn(const QString &text)
{
    m_peer.send(R"({"type":"conversation.item.input_audio_transcription.completed","transcript":")"
        + text.toUtf8() + "\"}");
}

std::vector<QJsonObject> EngineTest::await(const char *path, std::size_t count)
{
    const bool came
        = QTest::qWaitFor([&] { return m_peer.of("request", path).size() >= count; }, 30000);
    if (!came) {
        qFatal("the requests did not come: %s", path);
    }
    return m_peer.of("request", path);
}

void EngineTest::transcribe(const QJsonObject &upload, const QString &text)
{
    m_peer.answer(upload, "{\"text\":\"" + text.toUtf8() + "\"}");
}

void EngineTest::translate(const QJsonObject &request, const QString &text)
{
    m_peer.answer(request,
        R"({"output":[{"content":[{"type":"output_text","text":")" + text.toUtf8() + "\"}]}]}");
}

void EngineTest::uploadsPhrases_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("fields");
    const QString model = u"model=gpt-4o-transcribe"_s;
    const QString format = u"response_format=json"_s;
    const QString es
        = u"prompt=Prédica cristiana en una iglesia, pantallas de la sala, transmisión a "
          "YouTube y Facebook."_s;
    QTest::newRow("es") << u"es"_s << QStringList { model, u"language=es"_s, es, format };
    QTest::newRow("none") << QString() << QStringList { model, u"prompt=Church sermon."_s, format };
}

void EngineTest::uploadsPhrases()
{
    QFETCH(QString, source);
    start(false, false, source);
    QCOMPARE(field(await("/v1/models/gpt-4.1-mini", 1).at(0), "method"), u"GET"_s);
    speak();
    const QJsonObject upload = await(transcriptions, 1).at(0);
    QCOMPARE(field(upload, "method"), u"POST"_s);
    QCOMPARE(field(upload.value(u"headers").toObject(), "authorization"), u"Bearer sk-secret"_s);
    QJsonArray form = upload.value(u"form").toArray();
    const QJsonObject file = form.takeAt(form.size() - 1).toObject();
    QStringList fields;
    for (const QJsonValue &part : form) {
        fields.append(field(part.toObject(), "name") + u'=' + field(part.toObject(), "value"));
    }
    QTEST(fields, "fields");
    QCOMPARE(field(file, "name") + field(file, "file") + field(file, "type"),
        u"filechurch.wavaudio/wav"_s);
    const QByteArray wav = QByteArray::fromBase64(field(file, "base64").toLatin1());
    QVERIFY(wav.startsWith("RIFF") && wav.size() == 44 + 30400 * 2);
}

void EngineTest::translatesInContext()
{
    start();
    speak();
    transcribe(await(transcriptions, 1).at(0), u"Hola hermanos"_s);
    const QJsonObject body = bodyOf(await(responses, 1).at(0));
    QCOMPARE(field(body, "input"), u"New text: Hola hermanos"_s);
    QCOMPARE(field(body, "model"), u"gpt-4.1-mini"_s);
    QVERIFY(body.value(u"max_output_tokens") == 400 && body.value(u"store") == false);
    QVERIFY(field(body, "instructions").contains(u"fluent English as a human interpreter"));
    m_clock.advanceUs(1'200'000);
    translate(await(responses, 1).at(0), u" Hello brothers"_s);
    QTRY_COMPARE(m_captions, QStringList { u"Hello brothers"_s });
    QCOMPARE(m_statuses.last(), u"Subtítulo actualizado · 1.2 s después de la frase"_s);
    speak(3);
    const auto uploads = await(transcriptions, 4);
    transcribe(uploads.at(1), u"¡HOLA, hermanos!"_s);
    QTRY_COMPARE(m_heard,
        (QStringList { u"Hola hermanos"_s, u"(repetido, descartado) ¡HOLA, hermanos!"_s }));
    transcribe(uploads.at(2), u"  "_s);
    transcribe(uploads.at(3), u"sea la luz"_s);
    QCOMPARE(field(bodyOf(await(responses, 2).at(1)), "input"),
        u"Previous original:  Hola hermanos\nPrevious translation:   Hello brothers\nNew text: sea la luz"_s);
    translate(await(responses, 2).at(1), u"let there be light"_s);
    QTRY_COMPARE(m_captions.size(), 2); // what gave nothing holds nothing up
}

void EngineTest::showsEveryOrderInOrder()
{
    startLive();
    std::array<int, 5> arrival { 0, 1, 2, 3, 4 };
    int round = 0;
    do {
        m_peer.events.clear();
        m_captions.clear();
        QStringList expected;
        for (int i = 0; i < 5; ++i) {
            expected.append(u"%1.%2"_s.arg(round).arg(i));
            turn(expected.last());
        }
        const auto requests = await(responses, 5);
        for (const int i : arrival) {
            const auto ofPhrase = [&](const QJsonObject &request) {
                return field(bodyOf(request), "input").endsWith(u"New text: "_s + expected.at(i));
            };
            translate(*std::find_if(requests.begin(), requests.end(), ofPhrase), expected.at(i));
        }
        QTRY_COMPARE(m_captions, expected);
        ++round;
    } while (std::next_permutation(arrival.begin(), arrival.end()));
    QCOMPARE(round, 120);
}

void EngineTest::skipsAPhraseThatNeverComes()
{
    startLive();
    turn(u"uno"_s);
    await(responses, 1);
    turn(u"dos"_s);
    translate(await(responses, 2).at(1), u"two"_s);
    turn(u"tres"_s);
    translate(await(responses, 3).at(2), u"three"_s);
    m_clock.advanceUs(7'000'000);
    m_engine->releaseResults();
    QVERIFY(m_captions.isEmpty());
    m_clock.advanceUs(1'000);
    QTRY_COMPARE(m_captions, (QStringList { u"two"_s, u"three"_s })); // by the engine's own timer
    QVERIFY(m_statuses.contains(u"Se omitió un segmento lento para no detener la pantalla."_s));
    translate(m_peer.of("request", responses).at(0), u"one"_s);
    turn(u"cuatro"_s);
    translate(await(responses, 4).at(3), u"four"_s);
    QTRY_COMPARE(m_captions, (QStringList { u"two"_s, u"three"_s, u"four"_s }));
}

void EngineTest::goesOnAfterFailures_data()
{
    QTest::addColumn<bool>("inUpload");
    QTest::addColumn<int>("status"); // 0: the connection is dropped
    QTest::newRow("rate, upload") << true << 429;
    QTest::newRow("server, translation") << false << 503;
    QTest::newRow("dropped, upload") << true << 0;
    QTest::newRow("dropped, translation") << false << 0;
}

void EngineTest::goesOnAfterFailures()
{
    QFETCH(bool, inUpload);
    QFETCH(int, status);
    const char *failing = inUpload ? transcriptions : responses;
    // The network layer tries a broken connection again; only that.
    m_peer.onEvent = [&](const QJsonObject &event) {
        if (!inUpload && field(event, "path") == QLatin1String(transcriptions)) {
            transcribe(event, u"uno"_s);
        } else if (field(event, "path") == QLatin1String(failing)) {
            status == 0 ? m_peer.drop(event) : m_peer.answer(event, "{}", status);
        }
    };
    start();
    speak();
    QTRY_VERIFY(m_statuses.last().startsWith(inUpload ? u"Transcripcion: " : u"Traduccion: "));
    QVERIFY(status == 0 || m_peer.count("request", failing) == 1);
    m_peer.onEvent = {};
    m_peer.events.clear();
    speak();
    transcribe(await(transcriptions, 1).at(0), u"dos"_s);
    translate(await(responses, 1).at(0), u"two"_s);
    QTRY_COMPARE(m_captions, QStringList { u"two"_s });
}

void EngineTest::stopsAfterFatalFailures()
{
    bool runningInMessage = false;
    m_engine->statusChanged = [&](const Message &text) {
        m_statuses.append(text.spanish());
        runningInMessage = m_engine->running();
    };
    start();
    speak(5);
    const auto uploads = await(transcriptions, 3);
    m_peer.answer(uploads.at(1), "{}", 401);
    QTRY_VERIFY(!m_engine->running());
    QVERIFY2(runningInMessage, "the message comes first");
    QCOMPARE(m_statuses.last(), u"Transcripcion: API key o permisos no validos."_s);
    transcribe(uploads.at(0), u"uno"_s);
    m_peer.answer(uploads.at(2), "{}", 500);
    speak();
    start(); // ends the old run
    speak();
    transcribe(await(transcriptions, 4).at(3), u"dos"_s);
    translate(await(responses, 1).at(0), u"two"_s);
    QTRY_COMPARE(m_captions, QStringList { u"two"_s });
    QCOMPARE(m_statuses.size(), 4);
    QCOMPARE(m_peer.count("request", transcriptions), 4);
}

void EngineTest::showsNothingOfAnOldRun()
{
    startLive();
    for (int i = 0; i < 3; ++i) {
        turn(u"viejo %1"_s.arg(i));
    }
    const auto old = await(responses, 3);
    translate(old.at(2), u"old 2"_s);
    translate(old.at(1), u"old 1"_s);
    QTest::qWait(1); // they may have arrived already when the run ends
    const std::int32_t generation = m_engine->requestGeneration();
    startLive();
    QVERIFY(m_engine->requestGeneration() > generation);
    translate(old.at(0), u"old 0"_s);
    m_peer.answer(old.at(0), "{}", 401);
    turn(u"nuevo"_s);
    QCOMPARE(field(bodyOf(await(responses, 1).at(0)), "input"), u"New text: nuevo"_s);
    translate(await(responses, 1).at(0), u"new"_s);
    QTRY_COMPARE(m_captions, QStringList { u"new"_s });
    QCOMPARE(m_statuses.size(), 3);
}

void EngineTest::obeysStopsFromCallbacks()
{
    startLive();
    for (int i = 0; i < 3; ++i) {
        turn(u"frase %1"_s.arg(i));
    }
    const auto requests = await(responses, 3);
    m_engine->caption = [this](const QString &text) {
        m_captions.append(text);
        m_engine->stopEngine();
    };
    for (std::size_t i = 3; i > 0; --i) {
        translate(requests.at(i - 1), u"x"_s);
    }
    QTRY_VERIFY(!m_engine->running());
    QCOMPARE(m_captions.size(), 1);
    m_engine->statusChanged = [this](const Message &) { m_engine->stopEngine(); };
    start();
    QVERIFY(!m_engine->running());
}

void EngineTest::limitsWhatIsUnderWay()
{
    const QString late = u"IA con retraso; se omite un segmento."_s;
    start();
    speak(9);
    QVERIFY(!m_statuses.contains(late));
    speak();
    QCOMPARE(m_statuses.last(), late);
    transcribe(await(transcriptions, 3).at(0), u"uno"_s);
    translate(await(responses, 1).at(0), u"one"_s);
    QTRY_COMPARE(m_captions.size(), 1);
    QCOMPARE(await(transcriptions, 4).size(), std::size_t { 4 });
}

void EngineTest::speaksCaptions()
{
    start(false, true);
    for (std::size_t i = 0; i < 4; ++i) {
        speak();
        transcribe(await(transcriptions, i + 1).at(i), u"frase %1"_s.arg(i));
        translate(await(responses, i + 1).at(i), u"phrase"_s);
        const QJsonObject request = await(speeches, i + 1).at(i);
        QCOMPARE(field(request, "body"),
            uR"({"input":"phrase","model":"gpt-4o-mini-tts","response_format":"pcm","voice":"coral"})"_s);
        m_peer.answer(request, QByteArray(i == 1 ? 1440001 : 1440000, '\1'), i == 2 ? 500 : 200);
    }
    QTRY_COMPARE(m_voices.size(), 2); // neither what is too long nor what failed
    QVERIFY(m_statuses.join(u'|').contains(u"|Voz: No se pudo completar la solicitud. HTTP 500."));
    QCOMPARE(m_captions.size(), 4);
}

void EngineTest::sendsOnlyWhileRunning()
{
    speak(2);
    QVERIFY_EXCEPTION_THROWN(m_engine->start(u" \n"_s, u"English"_s, false, {}), Error);
    speak(2);
    start();
    speak();
    QCOMPARE(await(transcriptions, 1).size(), std::size_t { 1 });
    QCOMPARE(m_peer.count("upgrade"), 0); // live mode is off
    m_engine->stopEngine();
    QTRY_VERIFY(m_peer.count("gone") > 0);
    m_peer.events.clear();
    speak(3);
    Translation later(m_clock, m_peer.endpoint()); // its request comes after any of the stopped one
    later.setLiveDisabled(true);
    later.start(u"k"_s, {}, false, {});
    await("/v1/models/gpt-4.1-mini", 1);
    QCOMPARE(m_peer.count("request"), 1);
    QCOMPARE(m_statuses.size(), 1);
}

void EngineTest::pausesAfterThreeHours()
{
    start();
    m_clock.advanceUs(10'800'000'000);
    m_engine->processAudio(signal({ { 10, 0 } }));
    QVERIFY(m_engine->running());
    m_clock.advanceUs(1'000);
    speak();
    QVERIFY(!m_engine->running());
    QCOMPARE(m_statuses.last(), u"IA pausada tras 3 horas; inicia otra sesion si corresponde."_s);
    QCOMPARE(m_statuses.size(), 2);
}

void EngineTest::changesRoads_data()
{
    QTest::addColumn<QByteArray>("end"); // command to the peer once the session is active
    QTest::addColumn<int>("minutes"); // of the session before it ends
    QTest::addColumn<int>("spoken"); // milliseconds of the phrase that the end falls into
    QTest::newRow("refused") << QByteArray() << 0 << 700;
    QTest::newRow("lost as a phrase begins") << QByteArray("terminate") << 1 << 100;
    QTest::newRow("lost in a phrase") << QByteArray("terminate") << 1 << 1500;
    QTest::newRow("lost before the transcript") << QByteArray("terminate") << 1 << 2500;
    QTest::newRow("closed after an hour") << QByteArray("close") << 60 << 1500;
}

/// One phrase is transcribed, the second is being spoken when the session ends: it goes whole by
/// the other road, and the first does not go again.
void EngineTest::changesRoads()
{
    QFETCH(QByteArray, end);
    QFETCH(int, minutes);
    QFETCH(int, spoken);
    const AudioBlock phrase = signal({ { 1900, 0.2 }, { 1000, 0 } });
    const auto cut = phrase.samples.begin() + spoken * 96;
    const auto push = [this](const AudioBlock &block) {
        inPieces(block, 960, [this](const AudioBlock &piece) { m_engine->processAudio(piece); });
    };
    if (end.isEmpty()) {
        m_peer.live("reject");
        start(true);
    } else {
        startLive();
        push(phrase);
        turn(u"uno"_s);
        translate(await(responses, 1).at(0), u"one"_s);
        QTRY_COMPARE(m_captions, QStringList { u"one"_s });
        for (int i = 0; i < minutes; ++i) { // a second of each, and nobody speaks
            push(signal({ { 1000, 0 } }));
            m_clock.advanceUs(60'000'000);
        }
    }
    push(AudioBlock { { phrase.samples.begin(), cut }, 0 });
    if (!end.isEmpty()) {
        m_peer.command(R"({"do":")" + end + "\"}");
    }
    QTRY_VERIFY(m_statuses.contains(u"Modo en vivo no disponible; se usa modo por trozos."_s));
    push(AudioBlock { { cut, phrase.samples.end() }, 0 });
    const QByteArray wav = fileOf(await(transcriptions, 1).at(0));
    const double lost = 1900 - voicedMs(wav);
    qInfo("lost %.1f ms of a phrase of 1900 ms", lost);
    QVERIFY(std::abs(lost) < 2);
    QCOMPARE(m_peer.count("request", transcriptions), 1);
    QVERIFY(m_peer.count("upgrade") == 1);
    transcribe(m_peer.of("request", transcriptions).at(0), u"dos"_s);
    translate(await(responses, end.isEmpty() ? 1 : 2).back(), u"two"_s);
    QTRY_COMPARE(m_captions.last(), u"two"_s);
}

void EngineTest::sendsWhatWasSaidBeforeTheSession()
{
    start(true);
    m_engine->processAudio(signal({ { 900, 0.2 } }));
    QTRY_COMPARE(m_peer.count("text"), 1);
    m_peer.send(R"({"type":"session.updated"})");
    QTRY_VERIFY(m_statuses.contains(liveActive));
    speak();
    turn(u"dos"_s);
    translate(await(responses, 1).at(0), u"two"_s);
    transcribe(await(transcriptions, 1).at(0), u"uno"_s);
    translate(await(responses, 2).at(1), u"one"_s);
    QTRY_COMPARE(m_captions, (QStringList { u"one"_s, u"two"_s }));
    QCOMPARE(m_peer.count("request", transcriptions), 1);
}

NIMBARA_TEST(EngineTest)
#include "engine_test.moc"
