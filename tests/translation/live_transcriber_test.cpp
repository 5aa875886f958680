#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/live_transcriber.h"
#include "translation/signal.h"

#include <QJsonDocument>
#include <QTest>
#include <QtEndian>

#include <cmath>

using namespace nimbara;
using namespace nimbara::testing;

/// The live session against an independent WebSocket server over TLS.
class LiveTranscriberTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void opensAndConfigures_data();
    void opensAndConfigures();
    void reportsText();
    void answersPings();
    void readsEveryFraming();
    void movesToTurnModeOnce();
    void keepsASessionWithErrors();
    void failsAtEveryStage_data();
    void failsAtEveryStage();
    void failsWhenTheNetworkStalls();
    void stopsInSilence();
    void commits_data();
    void commits();
    void sendsNothingBeforeActivation();
    void raisesQuietVoices();

private:
    void connectSession();
    void activate();
    void event(const char *type, const char *field = nullptr, const QString &value = {});
    void raw(const QByteArray &bytes);
    [[nodiscard]] std::vector<QJsonObject> received(const char *type) const;

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<LiveTranscriber> m_live;
    QStringList m_log; ///< every callback, in order
};

namespace {

const QString key = QStringLiteral("sk-secreto-1234");
const QString lostToChunks = QStringLiteral("unavailable");

} // namespace

void LiveTranscriberTest::init()
{
    m_peer.events.clear();
    m_peer.live(QStringLiteral("accept"));
    m_log.clear();
    m_live = std::make_unique<LiveTranscriber>(m_clock, m_peer.endpoint());
    m_live->status = [this](const QString &text) { m_log.append(text); };
    m_live->partial = [this](const QString &text) { m_log.append(QStringLiteral("~") + text); };
    m_live->turn = [this](const QString &text, std::int64_t time) {
        m_log.append(QStringLiteral("=%1 %2").arg(text).arg(m_clock.wallMs() - time));
    };
    m_live->unavailable = [this] { m_log.append(lostToChunks); };
}

void LiveTranscriberTest::cleanup()
{
    QVERIFY2(!m_log.join(QLatin1Char('\n')).contains(QLatin1String("secreto")), "the key leaked");
    m_live.reset();
}

/// Up to the configuration.
void LiveTranscriberTest::connectSession()
{
    m_live->start(key, QStringLiteral("es"), QStringLiteral("Prédica"));
    QTRY_COMPARE(received("session.update").size(), std::size_t { 1 });
    QVERIFY(m_log.isEmpty());
}

void LiveTranscriberTest::activate()
{
    connectSession();
    event("session.updated");
    QTRY_VERIFY(m_live->isActive());
    m_log.clear();
}

void LiveTranscriberTest::event(const char *type, const char *field, const QString &value)
{
    QJsonObject object { { QStringLiteral("type"), QLatin1String(type) } };
    if (field != nullptr) {
        object.insert(QLatin1String(field), value);
    }
    m_peer.sendEvent(object);
}

void LiveTranscriberTest::raw(const QByteArray &bytes)
{
    m_peer.command({ { QStringLiteral("do"), QStringLiteral("raw") },
        { QStringLiteral("base64"), QString::fromLatin1(bytes.toBase64()) } });
}

std::vector<QJsonObject> LiveTranscriberTest::received(const char *type) const
{
    std::vector<QJsonObject> found;
    for (const QJsonObject &event : m_peer.of(QStringLiteral("text"))) {
        const QByteArray text = event.value(QLatin1String("text")).toString().toUtf8();
        const QJsonObject message = QJsonDocument::fromJson(text).object();
        if (message.value(QLatin1String("type")) == QLatin1String(type)) {
            found.push_back(message);
        }
    }
    return found;
}

void LiveTranscriberTest::opensAndConfigures_data()
{
    QTest::addColumn<QByteArray>("model");
    QTest::addColumn<QString>("mode"); // of the peer
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("status");
    const QByteArray streaming = R"({"format":{"rate":24000,"type":"audio/pcm"},)"
                                 R"("noise_reduction":{"type":"near_field"},)"
                                 R"("transcription":{"delay":"low","languages":["es"],)"
                                 R"("model":"gpt-live-transcribe","prompt":"Prédica"},)"
                                 R"("turn_detection":null})";
    const QString active = QStringLiteral("Modo en vivo activo (texto mientras se habla).");
    QTest::newRow("streaming") << QByteArray() << "accept" << streaming << active;
    QTest::newRow("every byte by itself") << QByteArray() << "trickle" << streaming << active;
    QTest::newRow("other model") << QByteArray("gpt-4o-transcribe ") << "accept" << streaming
                                 << active;
    QTest::newRow("turns") << QByteArray("gpt-4o-transcribe") << "accept"
                           << QByteArray(R"({"format":{"rate":24000,"type":"audio/pcm"},)"
                                         R"("noise_reduction":{"type":"near_field"},)"
                                         R"("transcription":{"language":"es",)"
                                         R"("model":"gpt-4o-transcribe"},"turn_detection":)"
                                         R"({"prefix_padding_ms":300,"silence_duration_ms":450,)"
                                         R"("threshold":0.5,"type":"server_vad"}})")
                           << "Modo en vivo activo (por turnos).";
}

void LiveTranscriberTest::opensAndConfigures()
{
    QFETCH(QByteArray, model);
    QFETCH(QString, mode);
    QFETCH(QByteArray, input);
    QFETCH(QString, status);
    qputenv("VESPERLINE_LIVE_MODEL", model);
    m_peer.live(mode);
    connectSession();
    qunsetenv("VESPERLINE_LIVE_MODEL");
    const QJsonObject upgrade = m_peer.of(QStringLiteral("upgrade")).at(0);
    QCOMPARE(upgrade.value(QLatin1String("path")),
        QStringLiteral("/v1/realtime?intent=transcription"));
    const QJsonObject headers = upgrade.value(QLatin1String("headers")).toObject();
    QCOMPARE(headers.value(QLatin1String("authorization")),
        QString(QStringLiteral("Bearer ") + key));
    QVERIFY(!headers.contains(QLatin1String("sec-websocket-protocol")));
    QVERIFY(!headers.contains(QLatin1String("sec-websocket-extensions")));
    const QJsonObject session
        = received("session.update").at(0).value(QLatin1String("session")).toObject();
    QCOMPARE(session.value(QLatin1String("type")), QStringLiteral("transcription"));
    const QJsonObject audio = session.value(QLatin1String("audio")).toObject();
    QCOMPARE(audio.value(QLatin1String("input")).toObject(),
        QJsonDocument::fromJson(input).object());
    event("transcription_session.updated");
    QTRY_COMPARE(m_log, QStringList { status });
    QVERIFY(m_live->isActive());
}

void LiveTranscriberTest::reportsText()
{
    activate();
    const char *delta = "conversation.item.input_audio_transcription.delta";
    const char *completed = "conversation.item.input_audio_transcription.completed";
    event("some.other.event");
    event(delta, "delta", QStringLiteral("Hola "));
    event(delta, "delta", QStringLiteral("hermanos"));
    event(completed, "transcript", QStringLiteral(" Hola hermanos. \n"));
    event(completed, "transcript", QStringLiteral("  "));
    event(delta, "delta", QStringLiteral("Sea"));
    QTRY_COMPARE(m_log,
        (QStringList { QStringLiteral("~Hola "),
            QStringLiteral("~Hola hermanos"),
            QStringLiteral("=Hola hermanos. 0"),
            QStringLiteral("~Sea") }));
    m_live->pushAudio(signal({ { 50, 0.1 } }));
    m_clock.advanceUs(1'500'000);
    m_live->pushAudio(signal({ { 50, 0 } }));
    event(completed, "transcript", QStringLiteral("luz"));
    QTRY_COMPARE(m_log.last(), QStringLiteral("=luz 1500"));
    event("input_audio_buffer.speech_stopped");
    event(completed, "transcript", QStringLiteral("fin"));
    QTRY_COMPARE(m_log.last(), QStringLiteral("=fin 0"));
}

void LiveTranscriberTest::answersPings()
{
    activate();
    m_peer.command({ { QStringLiteral("do"), QStringLiteral("ping") },
        { QStringLiteral("data"), QStringLiteral("¿estás?") } });
    QTRY_COMPARE(m_peer.count(QStringLiteral("pong")), 1);
    QCOMPARE(m_peer.of(QStringLiteral("pong")).at(0).value(QLatin1String("data")),
        QStringLiteral("¿estás?"));
    QCOMPARE(m_peer.count(QStringLiteral("fault")), 0); // the peer demands a mask
}

void LiveTranscriberTest::readsEveryFraming()
{
    m_peer.live(QStringLiteral("trickle"));
    activate();
    m_peer.live(QStringLiteral("accept"));
    const auto send = [this](const QString &text, bool fin, bool mask) {
        m_peer.command({ { QStringLiteral("do"), QStringLiteral("send") },
            { QStringLiteral("text"), text },
            { QStringLiteral("fin"), fin },
            { QStringLiteral("mask"), mask } });
    };
    const QString head = QStringLiteral(
        R"({"type":"conversation.item.input_audio_transcription.delta","delta":")");
    const QString tail = QStringLiteral("\"}");
    const QString longText = QStringLiteral("á").repeated(150); // 16-bit length
    send(head, false, false);
    send(longText, false, true);
    m_peer.command({ { QStringLiteral("do"), QStringLiteral("ping") },
        { QStringLiteral("data"), QStringLiteral("between") } });
    send(tail, true, true);
    QTRY_COMPARE(m_log, QStringList { QStringLiteral("~") + longText });
    QTRY_COMPARE(m_peer.count(QStringLiteral("pong")), 1);
    m_log.clear();
    m_live->stop();
    m_peer.events.clear();
    activate(); // not byte by byte
    const QString hugeText = QStringLiteral("x").repeated(300000); // 64-bit length
    send(head + hugeText + tail, true, false);
    QTRY_COMPARE(m_log, QStringList { QStringLiteral("~") + hugeText });
    raw(QByteArray::fromHex("8202ffff8a00")); // binary and pong mean nothing
    send(head + tail, true, false);
    QTRY_COMPARE(m_log.size(), 2);
}

void LiveTranscriberTest::movesToTurnModeOnce()
{
    connectSession();
    const QJsonObject refusal { { QStringLiteral("message"),
        QString(QStringLiteral("Model ") + QString(76, QLatin1Char('m'))) } };
    const QJsonObject error { { QStringLiteral("type"), QStringLiteral("error") },
        { QStringLiteral("error"), refusal } };
    m_peer.sendEvent(error);
    QTRY_COMPARE(received("session.update").size(), std::size_t { 2 });
    QCOMPARE(m_log.takeFirst(),
        QString(QStringLiteral("Modelo en vivo no disponible (Model ")
            + QString(74, QLatin1Char('m')) + QStringLiteral("); se intenta por turnos.")));
    m_peer.sendEvent(error);
    QTRY_COMPARE(m_log.size(), 2);
    QVERIFY(m_log.first().startsWith(QStringLiteral("Error en vivo: Model mmm")));
    QCOMPARE(m_log.last(), lostToChunks);
}

void LiveTranscriberTest::keepsASessionWithErrors()
{
    activate();
    const QJsonObject echo { { QStringLiteral("message"),
        QString(QString(150, QLatin1Char('e')) + key + key) } };
    m_peer.sendEvent(
        { { QStringLiteral("type"), QStringLiteral("error") }, { QStringLiteral("error"), echo } });
    QTRY_COMPARE(m_log.size(), 1);
    QCOMPARE(m_log.first().size(), QStringLiteral("Error en vivo: ").size() + 156);
    QVERIFY(m_live->isActive());
}

void LiveTranscriberTest::failsAtEveryStage_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QByteArray>("bytes"); // sent once active
    QTest::addColumn<QString>("end"); // command once active
    QTest::addColumn<QString>("status"); // how it begins
    const QString failed = QStringLiteral("Conexión en vivo falló: ");
    const QString closed = QStringLiteral("Conexión en vivo cerrada por el servidor.");
    const QString broken = failed + QStringLiteral("respuesta no válida del servidor");
    const auto hex = [](const char *text) { return QByteArray::fromHex(text); };
    QTest::newRow("before TLS") << "plain" << QByteArray() << "" << failed;
    QTest::newRow("instead of an answer") << "hangup" << QByteArray() << "" << failed;
    QTest::newRow("in the answer") << "half" << QByteArray() << "" << failed;
    QTest::newRow("refused") << "reject" << QByteArray() << ""
                             << QString(QStringLiteral("Modo en vivo rechazado: HTTP/1.1 401 "
                                                       "Unauthorized\r\nX-Padding: ")
                                    + QString(82, QLatin1Char('x')));
    QTest::newRow("close frame") << "accept" << QByteArray() << "close" << closed;
    QTest::newRow("empty close, then more") << "accept" << hex("8800810161") << "" << closed;
    QTest::newRow("dropped") << "accept" << QByteArray() << "terminate" << failed;
    QTest::newRow("dropped in a frame")
        << "accept" << hex("817e0100616263") << "terminate" << failed;
    QTest::newRow("absurd length") << "accept" << hex("817fffffffffffffffff") << "" << broken;
    QTest::newRow("garbage") << "accept" << hex("61ff6e6f742061206672616d65") << "" << broken;
}

void LiveTranscriberTest::failsAtEveryStage()
{
    QFETCH(QString, mode);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, end);
    QFETCH(QString, status);
    m_peer.live(mode);
    if (mode == QLatin1String("accept")) {
        activate();
        raw(bytes);
        if (!end.isEmpty()) {
            m_peer.command({ { QStringLiteral("do"), end } });
        }
    } else {
        m_live->start(key, QStringLiteral("es"), {});
    }
    QTRY_COMPARE(m_log.size(), 2);
    QVERIFY2(m_log.first().startsWith(status), qPrintable(m_log.first()));
    QVERIFY(mode != QLatin1String("reject") || m_log.first() == status);
    QCOMPARE(m_log.last(), lostToChunks);
    QVERIFY(!m_live->isActive());
    m_peer.live(QStringLiteral("accept"));
    m_log.clear();
    m_peer.events.clear();
    activate(); // the next session is none the worse
}

void LiveTranscriberTest::failsWhenTheNetworkStalls()
{
    activate();
    m_peer.command({ { QStringLiteral("do"), QStringLiteral("deaf") } });
    const AudioBlock second = signal({ { 1000, 0.3 } });
    for (int i = 0; i < 2000 && m_live->isActive(); ++i) {
        m_live->pushAudio(second);
        QCoreApplication::processEvents();
    }
    QCOMPARE(m_log,
        (QStringList { QStringLiteral("Conexión en vivo falló: la red no responde"),
            lostToChunks }));
}

void LiveTranscriberTest::stopsInSilence()
{
    activate();
    m_live->stop();
    QVERIFY(!m_live->isActive());
    m_live->pushAudio(signal({ { 3000, 0.1 } }));
    m_live->commit();
    QTRY_COMPARE(m_peer.count(QStringLiteral("closed")), 1);
    QCOMPARE(m_peer.count(QStringLiteral("text")), 1);
    QVERIFY(m_log.isEmpty());
    m_peer.live(QStringLiteral("mute"));
    m_live->start(key, {}, {});
    m_live->stop();
    m_live->start(key, {}, {});
    QTRY_VERIFY(m_peer.count(QStringLiteral("upgrade")) > 1);
    m_live->stop();
    QVERIFY(m_log.isEmpty());
}

void LiveTranscriberTest::commits_data()
{
    QTest::addColumn<Stretches>("stretches");
    QTest::addColumn<QString>("partial");
    QTest::addColumn<int>("commits");
    const double voice = 0.1;
    QTest::newRow("0.8 s and 450 ms") << Stretches { { 800, voice }, { 450, 0 } } << "" << 1;
    QTest::newRow("a pause of 440 ms") << Stretches { { 800, voice }, { 440, 0 } } << "" << 0;
    QTest::newRow("0.4 s and 0.5 s") << Stretches { { 400, voice }, { 500, 0 } } << "" << 0;
    QTest::newRow("a sentence") << Stretches { { 1850, voice }, { 150, 0 } } << "Amén. " << 1;
    QTest::newRow("a sentence too short")
        << Stretches { { 1840, voice }, { 150, 0 } } << "Amén?" << 0;
    QTest::newRow("half a sentence") << Stretches { { 1850, voice }, { 150, 0 } } << "Amén," << 0;
    QTest::newRow("7 s") << Stretches { { 7000, voice } } << "" << 1;
    QTest::newRow("less than 7 s") << Stretches { { 6990, voice } } << "" << 0;
    QTest::newRow("7 s with little voice") << Stretches { { 490, voice }, { 6510, 0 } } << "" << 0;
    QTest::newRow("silence is forgotten after 3 s")
        << Stretches { { 3000, 0 }, { 4000, voice } } << "" << 0;
    QTest::newRow("two phrases") << Stretches { { 900, voice },
        { 600, 0 },
        { 1000, voice },
        { 500, 0 } } << "" << 2;
}

void LiveTranscriberTest::commits()
{
    QFETCH(Stretches, stretches);
    QFETCH(QString, partial);
    QFETCH(int, commits);
    activate();
    if (!partial.isEmpty()) {
        event("conversation.item.input_audio_transcription.delta", "delta", partial);
        QTRY_COMPARE(m_log.size(), 1);
    }
    int samples = 0;
    inPieces(signal(stretches), 480, [&](const AudioBlock &piece) {
        m_live->pushAudio(piece);
        samples += 240;
    });
    m_peer.command({ { QStringLiteral("do"), QStringLiteral("ping") },
        { QStringLiteral("data"), QString() } });
    QTRY_COMPARE(m_peer.count(QStringLiteral("pong")), 1); // comes after all that was sent
    const auto appended = [this] {
        qsizetype bytes = 0;
        for (const QJsonObject &append : received("input_audio_buffer.append")) {
            bytes += QByteArray::fromBase64(
                append.value(QLatin1String("audio")).toString().toLatin1())
                         .size();
        }
        return bytes;
    };
    QVERIFY2(appended() > (samples - 2400) * 2, "all audio but the last tenth is sent");
    QVERIFY(appended() <= samples * 2);
    QCOMPARE(static_cast<int>(received("input_audio_buffer.commit").size()), commits);
}

void LiveTranscriberTest::sendsNothingBeforeActivation()
{
    connectSession();
    m_live->pushAudio(signal({ { 3000, 0.1 } }));
    event("session.updated");
    QTRY_VERIFY(m_live->isActive());
    m_live->pushAudio(signal({ { 1000, 0.1 } }));
    QTRY_COMPARE(received("input_audio_buffer.append").size(), std::size_t { 1 });
    const QString audio
        = received("input_audio_buffer.append").at(0).value(QLatin1String("audio")).toString();
    QCOMPARE(QByteArray::fromBase64(audio.toLatin1()).size(), 48000);
}

void LiveTranscriberTest::raisesQuietVoices()
{
    LiveAudio audio;
    const auto lastSample = [&](double level) {
        audio.push(signal({ { 4000, level } }));
        const QByteArray pcm = audio.takeChunk();
        return qFromLittleEndian<qint16>(pcm.constData() + pcm.size() - 2);
    };
    QVERIFY(std::abs(lastSample(-0.05) + 16383) < 200); // to half of full scale
    QVERIFY(std::abs(lastSample(0.9) - 29490) < 10); // never below its own level
    audio.reset();
    audio.push(signal({ { 1, 0.9 } }));
    const QByteArray pcm = audio.takeChunk();
    QCOMPARE(pcm.size(), 48);
    QVERIFY2(std::abs(qFromLittleEndian<qint16>(pcm.constData()) - 29490) < 10, "the gain stays");
}

NIMBARA_TEST(LiveTranscriberTest)
#include "live_transcriber_test.moc"
