#include "app/error.h"
#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/engine.h"
#include "translation/signal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <algorithm>
#include <array>

using namespace nimbara;
using namespace nimbara::testing;

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
    void stopsAfterFatalFailures_data();
    void stopsAfterFatalFailures();
    void dropsRepetitions();
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
    using Requests = std::vector<QJsonObject>;
    void start(bool live = false, bool voice = false);
    void startLive();
    void speak(int phrases = 1);
    void turn(const QString &text);
    Requests await(const QString &pathEnd, int count);
    void answerTranslation(const QJsonObject &request, const QString &text);
    void answerTranscript(const QJsonObject &request, const QString &text);
    void fail(const QJsonObject &request, int status, const QByteArray &body);
    [[nodiscard]] int sent(const QString &pathEnd) const
    {
        return m_peer.count(QStringLiteral("request"), pathEnd);
    }

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<Translation> m_engine;
    QStringList m_statuses;
    QStringList m_captions;
    QStringList m_heard;
    QByteArrayList m_voices;
};

namespace {

const QString transcriptions = QStringLiteral("/v1/audio/transcriptions");
const QString responses = QStringLiteral("/v1/responses");
const QString speech = QStringLiteral("/v1/audio/speech");

QJsonObject bodyOf(const QJsonObject &request)
{
    return QJsonDocument::fromJson(request.value(QLatin1String("body")).toString().toUtf8())
        .object();
}

} // namespace

void EngineTest::init()
{
    m_peer.live(QStringLiteral("accept"));
    m_peer.events.clear();
    m_peer.onEvent = [](const QJsonObject &) {};
    m_statuses.clear();
    m_captions.clear();
    m_heard.clear();
    m_voices.clear();
    m_engine = std::make_unique<Translation>(m_clock, m_peer.endpoint());
    m_engine->statusChanged = [this](const QString &text) { m_statuses.append(text); };
    m_engine->caption = [this](const QString &text) { m_captions.append(text); };
    m_engine->heard = [this](const QString &text) { m_heard.append(text); };
    m_engine->voiceAudio = [this](const QByteArray &pcm) { m_voices.append(pcm); };
}

void EngineTest::cleanup()
{
    const QString told = (m_statuses + m_captions + m_heard).join(QLatin1Char('\n'));
    QVERIFY2(!told.contains(QLatin1String("secreto")), "the key leaked");
    m_engine.reset();
}

void EngineTest::start(bool live, bool voice)
{
    m_engine->setLiveDisabled(!live);
    m_engine->start(QStringLiteral(" sk-secreto-1 \n"),
        QStringLiteral("English"),
        voice,
        QStringLiteral("es"));
}

void EngineTest::startLive()
{
    start(true);
    QTRY_COMPARE(m_peer.count(QStringLiteral("text")), 1);
    m_peer.sendEvent({ { QStringLiteral("type"), QStringLiteral("session.updated") } });
    QTRY_VERIFY(
        m_statuses.contains(QStringLiteral("Modo en vivo activo (texto mientras se habla).")));
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
    m_peer.sendEvent(
        { { QStringLiteral("type"),
              QStringLiteral("conversation.item.input_audio_transcription.completed") },
            { QStringLiteral("transcript"), text } });
}

EngineTest::Requests EngineTest::await(const QString &pathEnd, int count)
{
    [&] { QTRY_VERIFY2_WITH_TIMEOUT(sent(pathEnd) >= count, qPrintable(pathEnd), 30000); }();
    return m_peer.of(QStringLiteral("request"), pathEnd);
}

void EngineTest::answerTranslation(const QJsonObject &request, const QString &text)
{
    const QJsonObject piece { { QStringLiteral("type"), QStringLiteral("output_text") },
        { QStringLiteral("text"), text } };
    const QJsonObject message { { QStringLiteral("content"), QJsonArray { piece } } };
    m_peer.answer(request, { { QStringLiteral("output"), QJsonArray { message } } });
}

void EngineTest::answerTranscript(const QJsonObject &request, const QString &text)
{
    m_peer.answer(request, { { QStringLiteral("text"), text } });
}

void EngineTest::fail(const QJsonObject &request, int status, const QByteArray &body)
{
    m_peer.answer(request, QJsonDocument::fromJson(body).object(), status);
}

void EngineTest::uploadsPhrases_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("fields");
    const QString model = QStringLiteral("model=gpt-4o-transcribe");
    const QString format = QStringLiteral("response_format=json");
    QTest::newRow("es") << "es"
                        << QStringList { model,
                               QStringLiteral("language=es"),
                               QStringLiteral(
                                   "prompt=Prédica cristiana en una iglesia, pantallas de "
                                   "la sala, transmisión a YouTube y Facebook."),
                               format };
    QTest::newRow("en") << "en"
                        << QStringList { model,
                               QStringLiteral("language=en"),
                               QStringLiteral("prompt=Christian sermon in a church, hall screens, "
                                              "livestream to YouTube and Facebook."),
                               format };
    QTest::newRow("none") << ""
                          << QStringList { model, QStringLiteral("prompt=Church sermon."), format };
}

void EngineTest::uploadsPhrases()
{
    QFETCH(QString, source);
    QFETCH(QStringList, fields);
    m_engine->setLiveDisabled(true);
    m_engine->start(QStringLiteral("sk-secreto-1"), QStringLiteral("Tagalog"), false, source);
    QCOMPARE(m_statuses, QStringList { QStringLiteral("IA activa; conectando modo en vivo...") });
    const QJsonObject probe = await(QStringLiteral("/v1/models/gpt-4.1-mini"), 1).at(0);
    QCOMPARE(probe.value(QLatin1String("method")), QStringLiteral("GET"));
    speak();
    const QJsonObject upload = await(transcriptions, 1).at(0);
    QCOMPARE(upload.value(QLatin1String("method")), QStringLiteral("POST"));
    QCOMPARE(
        upload.value(QLatin1String("headers")).toObject().value(QLatin1String("authorization")),
        QStringLiteral("Bearer sk-secreto-1"));
    QJsonArray form = upload.value(QLatin1String("form")).toArray();
    const QJsonObject file = form.takeAt(form.size() - 1).toObject();
    QStringList found;
    for (const QJsonValue &part : form) {
        found.append(part.toObject().value(QLatin1String("name")).toString() + QLatin1Char('=')
            + part.toObject().value(QLatin1String("value")).toString());
    }
    QCOMPARE(found, fields);
    QCOMPARE(file.value(QLatin1String("name")), QStringLiteral("file"));
    QCOMPARE(file.value(QLatin1String("file")), QStringLiteral("church.wav"));
    QCOMPARE(file.value(QLatin1String("type")), QStringLiteral("audio/wav"));
    const QString base64 = file.value(QLatin1String("base64")).toString();
    const QByteArray wav = QByteArray::fromBase64(base64.toLatin1());
    QCOMPARE(wav.size(), 44 + 30400 * 2);
    QVERIFY(wav.startsWith("RIFF"));
}

void EngineTest::translatesInContext()
{
    start();
    speak();
    answerTranscript(await(transcriptions, 1).at(0), QStringLiteral("Hola hermanos"));
    const QJsonObject first = await(responses, 1).at(0);
    const QJsonObject body = bodyOf(first);
    QCOMPARE(body.value(QLatin1String("input")), QStringLiteral("New text: Hola hermanos"));
    QCOMPARE(body.value(QLatin1String("model")), QStringLiteral("gpt-4.1-mini"));
    QCOMPARE(body.value(QLatin1String("max_output_tokens")), 400);
    QCOMPARE(body.value(QLatin1String("store")), false);
    const QString told = body.value(QLatin1String("instructions")).toString();
    QVERIFY(told.contains(QStringLiteral("fluent English as a human")));
    QVERIFY(told.endsWith(QStringLiteral("or a repetition, output nothing.")));
    m_clock.advanceUs(1'200'000);
    answerTranslation(first, QStringLiteral(" Hello brothers\n"));
    QTRY_COMPARE(m_captions, QStringList { QStringLiteral("Hello brothers") });
    QCOMPARE(m_statuses.last(),
        QStringLiteral("Subtítulo actualizado · 1.2 s después de la frase"));
    QCOMPARE(m_heard, QStringList { QStringLiteral("Hola hermanos") });
    speak();
    answerTranscript(await(transcriptions, 2).at(1), QStringLiteral("sea la luz"));
    QCOMPARE(bodyOf(await(responses, 2).at(1)).value(QLatin1String("input")),
        QStringLiteral(
            "Previous original:  Hola hermanos\nPrevious translation:   Hello brothers\n\n"
            "New text: sea la luz"));
    answerTranslation(m_peer.of(QStringLiteral("request"), responses).at(1), QString());
    speak();
    answerTranscript(await(transcriptions, 3).at(2), QStringLiteral("  "));
    speak();
    answerTranscript(await(transcriptions, 4).at(3), QStringLiteral("y fue"));
    answerTranslation(await(responses, 3).at(2), QStringLiteral("and it was"));
    QTRY_COMPARE(m_captions.size(), 2); // what gave nothing holds nothing up
}

void EngineTest::showsEveryOrderInOrder()
{
    startLive();
    std::array<std::size_t, 5> arrival { 0, 1, 2, 3, 4 };
    int round = 0;
    do {
        if (round++ % 4 != 0) {
            continue; // thirty of them
        }
        m_peer.events.clear();
        m_captions.clear();
        QStringList expected;
        for (int i = 0; i < 5; ++i) {
            expected.append(QStringLiteral("%1.%2").arg(round).arg(i));
            turn(expected.last());
        }
        const Requests requests = await(responses, 5);
        const auto requestOf = [&](const QString &text) {
            return *std::find_if(requests.begin(), requests.end(), [&](const QJsonObject &request) {
                return bodyOf(request)
                    .value(QLatin1String("input"))
                    .toString()
                    .endsWith(QStringLiteral("New text: ") + text);
            });
        };
        for (const std::size_t i : arrival) {
            const QString text = expected.at(static_cast<qsizetype>(i));
            answerTranslation(requestOf(text), text);
        }
        QTRY_COMPARE(m_captions, expected);
    } while (std::next_permutation(arrival.begin(), arrival.end()));
}

void EngineTest::skipsAPhraseThatNeverComes()
{
    startLive();
    turn(QStringLiteral("uno"));
    await(responses, 1);
    turn(QStringLiteral("dos"));
    answerTranslation(await(responses, 2).at(1), QStringLiteral("two"));
    QTRY_VERIFY(m_heard.size() == 2);
    m_clock.advanceUs(7'000'000);
    m_engine->releaseResults();
    QVERIFY(m_captions.isEmpty());
    m_clock.advanceUs(1'000);
    QTRY_COMPARE(m_captions, QStringList { QStringLiteral("two") }); // by the engine's own timer
    QVERIFY(m_statuses.contains(
        QStringLiteral("Se omitió un segmento lento para no detener la pantalla.")));
    answerTranslation(m_peer.of(QStringLiteral("request"), responses).at(0), QStringLiteral("one"));
    turn(QStringLiteral("tres"));
    answerTranslation(await(responses, 3).at(2), QStringLiteral("three"));
    QTRY_COMPARE(m_captions, (QStringList { QStringLiteral("two"), QStringLiteral("three") }));
}

void EngineTest::goesOnAfterFailures_data()
{
    QTest::addColumn<bool>("inTranscription");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    const QString limit
        = QStringLiteral("Limite temporal de la API; se reintenta con el siguiente segmento.");
    const QString other = QStringLiteral(
        "No se pudo completar la solicitud. HTTP %1. Revisa conexion y acceso al modelo.");
    QTest::newRow("rate, upload") << true << 429
                                  << QString(QStringLiteral("Transcripcion: ") + limit);
    QTest::newRow("rate, translation")
        << false << 429 << QString(QStringLiteral("Traduccion: ") + limit);
    QTest::newRow("server, upload")
        << true << 500 << QString(QStringLiteral("Transcripcion: ") + other.arg(500));
    QTest::newRow("server, translation")
        << false << 503 << QString(QStringLiteral("Traduccion: ") + other.arg(503));
    QTest::newRow("dropped, upload")
        << true << 0 << QString(QStringLiteral("Transcripcion: ") + other.arg(0));
    QTest::newRow("dropped, translation")
        << false << 0 << QString(QStringLiteral("Traduccion: ") + other.arg(0));
}

void EngineTest::goesOnAfterFailures()
{
    QFETCH(bool, inTranscription);
    QFETCH(int, status);
    QFETCH(QString, message);
    start();
    speak();
    QJsonObject failing = await(transcriptions, 1).at(0);
    if (!inTranscription) {
        answerTranscript(failing, QStringLiteral("uno"));
        failing = await(responses, 1).at(0);
    }
    const auto drop = [this](const QJsonObject &request) {
        m_peer.command({ { QStringLiteral("do"), QStringLiteral("drop") },
            { QStringLiteral("id"), request.value(QLatin1String("id")) } });
    };
    if (status == 0) {
        m_peer.onEvent = drop; // the network layer tries a broken connection again
        drop(failing);
    } else {
        fail(failing, status, R"({"error":{"code":"rate_limit_exceeded"}})");
    }
    QTRY_COMPARE(m_statuses.last(), message);
    QVERIFY(status == 0 || sent(inTranscription ? transcriptions : responses) == 1);
    m_peer.onEvent = [](const QJsonObject &) {};
    m_peer.events.clear();
    speak();
    answerTranscript(await(transcriptions, 1).at(0), QStringLiteral("dos"));
    answerTranslation(await(responses, 1).at(0), QStringLiteral("two"));
    QTRY_COMPARE(m_captions, QStringList { QStringLiteral("two") });
}

void EngineTest::stopsAfterFatalFailures_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    QTest::newRow("401") << 401 << QByteArray("{}")
                         << "Transcripcion: API key o permisos no validos.";
    QTest::newRow("quota")
        << 429 << QByteArray(R"({"error":{"code":"insufficient_quota"}})")
        << "Transcripcion: Sin cuota/saldo disponible en el proyecto API. Revisa "
           "Facturación del proyecto.";
}

void EngineTest::stopsAfterFatalFailures()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    bool runningInMessage = false;
    m_engine->statusChanged = [&](const QString &text) {
        m_statuses.append(text);
        runningInMessage = m_engine->running();
    };
    start();
    speak(5);
    const Requests uploads = await(transcriptions, 3);
    fail(uploads.at(1), status, body);
    QTRY_VERIFY(!m_engine->running());
    QVERIFY2(runningInMessage, "the message comes first");
    QCOMPARE(m_statuses.last(), message);
    const qsizetype told = m_statuses.size();
    answerTranscript(uploads.at(0), QStringLiteral("uno"));
    fail(uploads.at(2), 500, "{}");
    speak();
    start(); // ends the old run
    speak();
    answerTranscript(await(transcriptions, 4).at(3), QStringLiteral("dos"));
    answerTranslation(await(responses, 1).at(0), QStringLiteral("two"));
    QTRY_COMPARE(m_captions, QStringList { QStringLiteral("two") });
    QCOMPARE(m_statuses.size(), told + 2);
    QCOMPARE(sent(transcriptions), 4);
    QCOMPARE(sent(responses), 1);
}

void EngineTest::dropsRepetitions()
{
    startLive();
    turn(QStringLiteral("Gloria a Dios"));
    turn(QStringLiteral("¡gloria a Dios!"));
    turn(QStringLiteral("Amén"));
    const Requests requests = await(responses, 2);
    answerTranslation(requests.at(0), QStringLiteral("a"));
    answerTranslation(requests.at(1), QStringLiteral("b"));
    QTRY_COMPARE(m_captions.size(), 2);
    QCOMPARE(m_heard,
        (QStringList { QStringLiteral("Gloria a Dios"),
            QStringLiteral("(repetido, descartado) ¡gloria a Dios!"),
            QStringLiteral("Amén") }));
}

void EngineTest::showsNothingOfAnOldRun()
{
    startLive();
    const std::int32_t generation = m_engine->requestGeneration();
    for (int i = 0; i < 3; ++i) {
        turn(QStringLiteral("viejo %1").arg(i));
    }
    const Requests old = await(responses, 3);
    answerTranslation(old.at(2), QStringLiteral("old 2"));
    answerTranslation(old.at(1), QStringLiteral("old 1"));
    // The answers may be in the socket already when the run ends.
    QTest::qWait(0);
    startLive();
    QVERIFY(m_engine->requestGeneration() > generation);
    QTRY_VERIFY(m_peer.count(QStringLiteral("gone")) > 0);
    answerTranslation(old.at(0), QStringLiteral("old 0"));
    m_captions.clear();
    m_statuses.clear();
    turn(QStringLiteral("nuevo"));
    const QJsonObject request = await(responses, 4).at(3);
    QCOMPARE(bodyOf(request).value(QLatin1String("input")), QStringLiteral("New text: nuevo"));
    answerTranslation(request, QStringLiteral("new"));
    QTRY_COMPARE(m_captions, QStringList { QStringLiteral("new") });
    QCOMPARE(m_statuses.size(), 1);
}

void EngineTest::obeysStopsFromCallbacks()
{
    startLive();
    for (int i = 0; i < 3; ++i) {
        turn(QStringLiteral("frase %1").arg(i));
    }
    const Requests requests = await(responses, 3);
    m_engine->caption = [this](const QString &text) {
        m_captions.append(text);
        m_engine->stopEngine();
    };
    for (const std::size_t i : { std::size_t { 2 }, std::size_t { 1 }, std::size_t { 0 } }) {
        answerTranslation(requests.at(i), QStringLiteral("x"));
    }
    QTRY_COMPARE(m_captions.size(), 1);
    QVERIFY(!m_engine->running());
    m_statuses.clear();
    m_engine->statusChanged = [this](const QString &text) {
        m_statuses.append(text);
        m_engine->stopEngine();
    };
    start();
    QVERIFY(!m_engine->running());
    QCOMPARE(m_statuses.size(), 1);
}

void EngineTest::limitsWhatIsUnderWay()
{
    start();
    speak(9);
    QVERIFY(!m_statuses.contains(QStringLiteral("IA con retraso; se omite un segmento.")));
    speak(1);
    QCOMPARE(m_statuses.last(), QStringLiteral("IA con retraso; se omite un segmento."));
    answerTranscript(await(transcriptions, 3).at(0), QStringLiteral("uno"));
    answerTranslation(await(responses, 1).at(0), QStringLiteral("one"));
    QTRY_COMPARE(m_captions.size(), 1);
    QCOMPARE(await(transcriptions, 4).size(), std::size_t { 4 });
}

void EngineTest::speaksCaptions()
{
    start(false, true);
    const auto pcmReply = [this](const QJsonObject &request, qsizetype bytes) {
        m_peer.command({ { QStringLiteral("do"), QStringLiteral("answer") },
            { QStringLiteral("id"), request.value(QLatin1String("id")) },
            { QStringLiteral("base64"),
                QString::fromLatin1(QByteArray(bytes, '\1').toBase64()) } });
    };
    for (std::size_t i = 0; i < 3; ++i) {
        speak();
        const int count = static_cast<int>(i) + 1;
        answerTranscript(await(transcriptions, count).at(i), QStringLiteral("frase %1").arg(i));
        answerTranslation(await(responses, count).at(i), QStringLiteral("phrase"));
        const QJsonObject request = await(speech, count).at(i);
        QCOMPARE(request.value(QLatin1String("body")),
            QStringLiteral(R"({"input":"phrase","model":"gpt-4o-mini-tts",)"
                           R"("response_format":"pcm","voice":"coral"})"));
        pcmReply(request, i == 1 ? 1440001 : 1440000);
    }
    QTRY_COMPARE(m_voices.size(), 2);
    speak();
    answerTranscript(await(transcriptions, 4).at(3), QStringLiteral("amén"));
    answerTranslation(await(responses, 4).at(3), QStringLiteral("amen"));
    fail(await(speech, 4).at(3), 500, "{}");
    QTRY_VERIFY(m_statuses.last().startsWith(QStringLiteral("Voz: No se pudo")));
    QCOMPARE(m_captions.last(), QStringLiteral("amen"));
}

void EngineTest::sendsOnlyWhileRunning()
{
    speak(2);
    m_engine->releaseResults();
    try {
        m_engine->start(QStringLiteral(" \n"), QStringLiteral("English"), false, {});
        QFAIL("started without a key");
    } catch (const Error &error) {
        QCOMPARE(error.text(), QStringLiteral("Ingresa tu API key"));
    }
    speak(2);
    QVERIFY(m_statuses.isEmpty());
    start();
    speak();
    await(transcriptions, 1);
    QCOMPARE(sent(transcriptions), 1);
    QCOMPARE(m_peer.count(QStringLiteral("upgrade")), 0); // live mode is off
    m_engine->stopEngine();
    QTRY_VERIFY(m_peer.count(QStringLiteral("gone")) > 0);
    m_peer.events.clear();
    m_statuses.clear();
    speak(3);
    Translation later(m_clock, m_peer.endpoint()); // its request comes after any of the stopped one
    later.setLiveDisabled(true);
    later.start(QStringLiteral("k"), {}, false, {});
    await(QStringLiteral("/v1/models/gpt-4.1-mini"), 1);
    QCOMPARE(sent(QString()), 1);
    QVERIFY(m_statuses.isEmpty());
}

void EngineTest::pausesAfterThreeHours()
{
    start();
    m_clock.advanceUs(10'800'000'000);
    m_engine->processAudio(signal({ { 10, 0 } }));
    QVERIFY(m_engine->running());
    m_clock.advanceUs(1'000);
    bool runningInMessage = true;
    m_engine->statusChanged = [&](const QString &text) {
        m_statuses.append(text);
        runningInMessage = m_engine->running();
    };
    speak();
    QCOMPARE(m_statuses.last(),
        QStringLiteral("IA pausada tras 3 horas; inicia otra sesion si corresponde."));
    QVERIFY(!runningInMessage && !m_engine->running());
    QCOMPARE(m_statuses.size(), 2);
}

void EngineTest::changesRoads_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("end"); // command to the peer once the session is active
    QTest::newRow("refused") << "reject"
                             << "";
    QTest::newRow("lost") << "accept"
                          << "terminate";
    QTest::newRow("closed") << "accept"
                            << "close";
}

void EngineTest::changesRoads()
{
    QFETCH(QString, mode);
    QFETCH(QString, end);
    m_peer.live(mode);
    if (end.isEmpty()) {
        start(true);
        speak(); // before the session is refused
        await(transcriptions, 1);
    } else {
        startLive();
        speak();
        QTRY_VERIFY(m_peer.count(QStringLiteral("text")) > 10);
        QCOMPARE(sent(transcriptions), 0);
        m_peer.command({ { QStringLiteral("do"), end } });
    }
    const QString changed = QStringLiteral("Modo en vivo no disponible; se usa modo por trozos.");
    QTRY_VERIFY(m_statuses.contains(changed));
    const int before = sent(transcriptions);
    m_peer.events.clear();
    speak();
    await(transcriptions, 1);
    QCOMPARE(m_peer.count(QStringLiteral("text")), 0);
    QCOMPARE(m_peer.count(QStringLiteral("upgrade")), 0);
    QCOMPARE(before, end.isEmpty() ? 1 : 0);
}

void EngineTest::sendsWhatWasSaidBeforeTheSession()
{
    start(true);
    m_engine->processAudio(signal({ { 900, 0.2 } }));
    QTRY_COMPARE(m_peer.count(QStringLiteral("text")), 1);
    m_peer.sendEvent({ { QStringLiteral("type"), QStringLiteral("session.updated") } });
    QTRY_VERIFY(m_statuses.size() == 2);
    speak();
    turn(QStringLiteral("dos"));
    answerTranslation(await(responses, 1).at(0), QStringLiteral("two"));
    answerTranscript(await(transcriptions, 1).at(0), QStringLiteral("uno"));
    answerTranslation(await(responses, 2).at(1), QStringLiteral("one"));
    QTRY_COMPARE(m_captions, (QStringList { QStringLiteral("one"), QStringLiteral("two") }));
    QCOMPARE(sent(transcriptions), 1);
}

NIMBARA_TEST(EngineTest)
#include "engine_test.moc"
