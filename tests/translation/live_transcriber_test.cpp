#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/service/live_transcriber.h"
#include "translation/signal.h"

#include <QJsonDocument>
#include <QTest>
#include <QtEndian>

#include <cmath>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The live session against an independent WebSocket server over TLS.
class LiveTranscriberTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void opensAndConfigures_data();
    void opensAndConfigures();
    void reportsText();
    void readsEveryFraming();
    void triesTurnModeOnce();
    void failsAtEveryStage_data();
    void failsAtEveryStage();
    void failsWhenTheNetworkStalls();
    void stopsInSilence();
    void commits_data();
    void commits();
    void raisesQuietVoices();

private:
    void activate();
    void delta(const QByteArray &text);
    void completed(const QByteArray &text);
    [[nodiscard]] std::vector<QJsonObject> received(const char *type) const;

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<LiveTranscriber> m_live;
    QStringList m_log; ///< every callback, in order
};

void LiveTranscriberTest::init()
{
    m_peer.live("accept");
    m_peer.events.clear();
    m_log.clear();
    m_live = std::make_unique<LiveTranscriber>(m_clock, m_peer.endpoint());
    m_live->status = [this](const Message &text) { m_log.append(text.spanish()); };
    m_live->partial = [this](const QString &text) { m_log.append(u"~"_s + text); };
    m_live->turn = [this](const QString &text, std::int64_t time) {
        m_log.append(u"=%1 %2"_s.arg(text).arg(m_clock.wallMs() - time));
    };
    m_live->unavailable = [this] { m_log.append(u"unavailable"_s); };
}

void LiveTranscriberTest::cleanup()
{
    QVERIFY2(!m_log.join(u' ').contains(u"sk-secret"), "the key leaked");
    m_live.reset();
}

void LiveTranscriberTest::activate()
{
    m_peer.events.clear();
    m_live->start(u"sk-secret"_s, u"es"_s, u"Prédica"_s);
    QTRY_COMPARE(received("session.update").size(), std::size_t { 1 });
    m_live->pushAudio(signal({ { 3000, 0.1 } })); // too early: goes nowhere
    m_peer.send(R"({"type":"session.updated"})");
    QTRY_VERIFY(m_live->isActive());
}

void LiveTranscriberTest::delta(const QByteArray &text)
{
    m_peer.send(
        R"({"type":"conversation.item.input_audio_transcription.delta","delta":")" + text + "\"}");
}

void LiveTranscriberTest::completed(const QByteArray &text)
{
    m_peer.send(R"({"type":"conversation.item.input_audio_transcription.completed","transcript":")"
        + text + "\"}");
}

std::vector<QJsonObject> LiveTranscriberTest::received(const char *type) const
{
    std::vector<QJsonObject> found;
    for (const QJsonObject &event : m_peer.of("text")) {
        const auto message = QJsonDocument::fromJson(field(event, "text").toUtf8()).object();
        if (field(message, "type") == QLatin1String(type)) {
            found.push_back(message);
        }
    }
    return found;
}

void LiveTranscriberTest::opensAndConfigures_data()
{
    QTest::addColumn<QByteArray>("model");
    QTest::addColumn<QByteArray>("mode"); // of the peer
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("status");
    const QByteArray streaming
        = R"(,"transcription":{"model":"gpt-live-transcribe","prompt":"Prédica",
        "languages":["es"],"delay":"low"},"turn_detection":null})";
    const QByteArray turns = R"(,"transcription":{"model":"gpt-4o-transcribe","language":"es"},
        "turn_detection":{"type":"server_vad","threshold":0.5,"prefix_padding_ms":300,
        "silence_duration_ms":450}})";
    const QString active = u"Modo en vivo activo (texto mientras se habla)."_s;
    QTest::newRow("streaming") << QByteArray("gpt-4o") << QByteArray("accept") << streaming
                               << active;
    QTest::newRow("every byte by itself")
        << QByteArray() << QByteArray("trickle") << streaming << active;
    QTest::newRow("turns") << QByteArray("gpt-4o-transcribe") << QByteArray("accept") << turns
                           << u"Modo en vivo activo (por turnos)."_s;
}

void LiveTranscriberTest::opensAndConfigures()
{
    QFETCH(QByteArray, model);
    QFETCH(QByteArray, mode);
    QFETCH(QByteArray, input);
    QFETCH(QString, status);
    m_peer.live(mode);
    qputenv("VESPERLINE_LIVE_MODEL", model);
    activate();
    qunsetenv("VESPERLINE_LIVE_MODEL");
    QCOMPARE(m_log, QStringList { status });
    const QJsonObject upgrade = m_peer.of("upgrade").at(0);
    QCOMPARE(field(upgrade, "path"), u"/v1/realtime?intent=transcription"_s);
    const QJsonObject headers = upgrade.value(u"headers").toObject();
    QCOMPARE(headers.size(), 6);
    QCOMPARE(field(headers, "authorization"), u"Bearer sk-secret"_s);
    const QByteArray expected
        = R"({"type":"session.update","session":{"type":"transcription","audio":
        {"input":{"format":{"type":"audio/pcm","rate":24000},"noise_reduction":{"type":"near_field"})"
        + input + "}}}";
    QCOMPARE(received("session.update").at(0), QJsonDocument::fromJson(expected).object());
}

void LiveTranscriberTest::reportsText()
{
    activate();
    m_log.clear();
    delta("Hola ");
    delta("hermanos");
    completed(" Hola hermanos. ");
    completed("  ");
    delta("Sea");
    QTRY_COMPARE(m_log,
        (QStringList { u"~Hola "_s, u"~Hola hermanos"_s, u"=Hola hermanos. 0"_s, u"~Sea"_s }));
    m_live->pushAudio(signal({ { 50, 0.1 } }));
    m_clock.advanceUs(1'500'000);
    m_live->pushAudio(signal({ { 50, 0 } }));
    completed("luz");
    QTRY_COMPARE(m_log.last(), u"=luz 1500"_s);
    m_peer.send(R"({"type":"input_audio_buffer.speech_stopped"})");
    completed("fin");
    QTRY_COMPARE(m_log.last(), u"=fin 0"_s);
    const QByteArray echo = QByteArray(150, 'e') + "sk-secret-and-more";
    m_peer.send(R"({"type":"error","error":{"message":")" + echo + "\"}}");
    QTRY_COMPARE(m_log.last(), u"Error en vivo: "_s + u"e"_s.repeated(150) + u"•••-and-mo"_s);
    QVERIFY(m_live->isActive());
}

void LiveTranscriberTest::readsEveryFraming()
{
    const QByteArray head
        = R"({"type":"conversation.item.input_audio_transcription.delta","delta":")";
    const QByteArray text(300, 'x'); // 16-bit length
    for (const char *mode : { "trickle", "accept" }) {
        m_peer.live(mode);
        activate();
        m_log.clear();
        m_peer.send(head, false);
        m_peer.send(text, false, true);
        m_peer.command(R"({"do":"ping","data":"¿estás?"})");
        m_peer.send("\"}", true, true);
        QTRY_COMPARE(m_log, QStringList { QString::fromUtf8("~" + text) });
        QTRY_COMPARE(m_peer.count("pong"), 1);
        QCOMPARE(field(m_peer.of("pong").at(0), "data"), u"¿estás?"_s);
        m_live->stop();
    }
    activate();
    m_peer.command(R"({"do":"raw","base64":"ggJhYooA"})"); // binary and pong mean nothing
    delta(QByteArray(300000, 'x')); // 64-bit length
    QTRY_COMPARE(m_log.last().size(), 300001);
    m_live->pushAudio(signal({ { 3000, 0.1 } })); // 64-bit length
    QTRY_COMPARE(received("input_audio_buffer.append").size(), std::size_t { 1 });
    QCOMPARE(field(received("input_audio_buffer.append").at(0), "audio").size(), 192000);
    QCOMPARE(m_peer.count("fault"), 0);
}

void LiveTranscriberTest::triesTurnModeOnce()
{
    m_live->start(u"sk-secret"_s, u"es"_s, {});
    QTRY_COMPARE(received("session.update").size(), std::size_t { 1 });
    const QByteArray error
        = R"({"type":"error","error":{"message":")" + QByteArray(200, 'm') + "\"}}";
    m_peer.send(error);
    QTRY_COMPARE(received("session.update").size(), std::size_t { 2 });
    m_peer.send(error);
    QTRY_COMPARE(m_log,
        (QStringList {
            u"Modelo en vivo no disponible (%1); se intenta por turnos."_s.arg(u"m"_s.repeated(80)),
            u"Error en vivo: "_s + u"m"_s.repeated(160),
            u"unavailable"_s }));
}

void LiveTranscriberTest::failsAtEveryStage_data()
{
    QTest::addColumn<QByteArray>("mode");
    QTest::addColumn<QByteArray>("hex"); // sent once active
    QTest::addColumn<QByteArray>("end"); // command once active
    QTest::addColumn<QString>("status"); // how it begins
    const auto row =
        [](const QByteArray &mode, const char *hex, const QByteArray &end, const QString &status) {
            QTest::addRow("%s %s %s", mode.constData(), hex, end.constData())
                << mode << QByteArray(hex) << end << status;
        };
    const QString failed = u"Conexión en vivo falló: "_s;
    const QString closed = u"Conexión en vivo cerrada por el servidor."_s;
    row("plain", "", "", failed);
    row("hangup", "", "", failed);
    row("half", "", "", failed);
    row("reject",
        "",
        "",
        u"Modo en vivo rechazado: HTTP/1.1 401 Unauthorized\r\nX-Padding: "_s
            + u"x"_s.repeated(82));
    row("accept", "", "close", closed);
    row("accept", "8800810161", "", closed);
    row("accept", "", "terminate", failed);
    row("accept", "817e0100616263", "terminate", failed); // within a frame
    row("accept", "817fffffffffffffffff", "", failed + u"respuesta no válida"_s);
    row("accept", "61ff6e6f742061206672616d65", "", failed + u"respuesta no válida"_s);
}

void LiveTranscriberTest::failsAtEveryStage()
{
    QFETCH(QByteArray, mode);
    QFETCH(QByteArray, hex);
    QFETCH(QByteArray, end);
    QFETCH(QString, status);
    m_peer.live(mode);
    if (mode == "accept") {
        activate();
        m_log.clear();
        m_peer.command(R"({"do":"raw","base64":")" + QByteArray::fromHex(hex).toBase64() + "\"}");
        m_peer.command(R"({"do":")" + (end.isEmpty() ? "live" : end) + "\"}");
    } else {
        m_live->start(u"sk-secret"_s, u"es"_s, {});
    }
    QTRY_COMPARE(m_log.size(), 2);
    QVERIFY2(m_log.first().startsWith(status), qPrintable(m_log.first()));
    QVERIFY(mode != "reject" || m_log.first() == status);
    QVERIFY(m_log.last() == u"unavailable" && !m_live->isActive());
    m_peer.live("accept");
    activate(); // the next session is none the worse
}

void LiveTranscriberTest::failsWhenTheNetworkStalls()
{
    activate();
    m_log.clear();
    m_peer.command(R"({"do":"deaf"})");
    const AudioBlock second = signal({ { 1000, 0.3 } });
    for (int i = 0; i < 2000 && m_live->isActive(); ++i) {
        m_live->pushAudio(second);
        QCoreApplication::processEvents();
    }
    QCOMPARE(m_log,
        (QStringList { u"Conexión en vivo falló: la red no responde"_s, u"unavailable"_s }));
}

void LiveTranscriberTest::stopsInSilence()
{
    activate();
    m_log.clear();
    m_live->stop();
    m_live->pushAudio(signal({ { 3000, 0.1 } }));
    m_live->commit();
    QTRY_COMPARE(m_peer.count("closed"), 1);
    QCOMPARE(m_peer.count("text"), 1);
    m_peer.live("mute");
    m_live->start(u"sk-secret"_s, {}, {});
    QTRY_COMPARE(m_peer.count("upgrade"), 2);
    m_live->stop();
    QVERIFY(m_log.isEmpty());
}

void LiveTranscriberTest::commits_data()
{
    QTest::addColumn<Stretches>("stretches");
    QTest::addColumn<QByteArray>("partial");
    QTest::addColumn<int>("expected");
    const auto row = [](const char *name,
                         const Stretches &stretches,
                         int expected,
                         const QByteArray &partial = {}) {
        QTest::newRow(name) << stretches << partial << expected;
    };
    const double voice = 0.1;
    row("0.8 s and 450 ms", { { 800, voice }, { 450, 0 } }, 1);
    row("a pause of 440 ms", { { 800, voice }, { 440, 0 } }, 0);
    row("0.4 s and 0.5 s", { { 400, voice }, { 500, 0 } }, 0);
    row("a sentence", { { 1850, voice }, { 150, 0 } }, 1, "Amén. ");
    row("a sentence too short", { { 1840, voice }, { 150, 0 } }, 0, "Amén?");
    row("half a sentence", { { 1850, voice }, { 150, 0 } }, 0, "Amén,");
    row("7 s", { { 7000, voice } }, 1);
    row("less than 7 s", { { 6990, voice } }, 0);
    row("7 s with little voice", { { 490, voice }, { 6510, 0 } }, 0);
    row("silence is forgotten after 3 s", { { 3000, 0 }, { 4000, voice } }, 0);
    row("two phrases", { { 900, voice }, { 600, 0 }, { 1000, voice }, { 500, 0 } }, 2);
}

void LiveTranscriberTest::commits()
{
    QFETCH(Stretches, stretches);
    QFETCH(QByteArray, partial);
    activate();
    delta(partial);
    QTRY_COMPARE(m_log.size(), 2);
    const AudioBlock voice = signal(stretches);
    inPieces(voice, 480, [this](const AudioBlock &piece) { m_live->pushAudio(piece); });
    m_peer.command(R"({"do":"ping","data":""})");
    QTRY_COMPARE(m_peer.count("pong"), 1); // comes after all that was sent
    QTEST(static_cast<int>(received("input_audio_buffer.commit").size()), "expected");
    std::size_t sent = 0;
    for (const QJsonObject &append : received("input_audio_buffer.append")) {
        sent += static_cast<std::size_t>(
            QByteArray::fromBase64(field(append, "audio").toLatin1()).size());
    }
    const std::size_t all = voice.samples.size() / 2; // bytes: a quarter of the values, two each
    QVERIFY2(sent <= all && sent + 4800 > all, "all audio but the last tenth is sent, once");
}

void LiveTranscriberTest::raisesQuietVoices()
{
    LiveAudio audio;
    const auto last = [&](int ms, double level) {
        audio.push(signal({ { ms, level } }));
        return qFromLittleEndian<qint16>(audio.takeChunk().right(2).constData());
    };
    QVERIFY(std::abs(last(4000, -0.05) + 16383) < 200); // to half of full scale
    QVERIFY(std::abs(last(4000, 0.9) - 29490) < 10); // never below its own level
    audio.reset();
    QVERIFY2(std::abs(last(1, 0.9) - 29490) < 10, "the gain stays");
}

NIMBARA_TEST(LiveTranscriberTest)
#include "live_transcriber_test.moc"
