#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/service/openai/live_transcriber.h"
#include "translation/signal.h"

#include <QJsonDocument>
#include <QtEndian>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The live session against an independent WebSocket server over TLS.
class LiveTranscriberTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart(); }
    void cleanup() { QVERIFY2(!m_log.join(u' ').contains(u"sk-secret"), "the key leaked"); }

    void opensAndConfigures()
    {
        const QByteArray streaming = R"({"model":"gpt-live-transcribe","prompt":"Prédica",
            "languages":["es"],"delay":"low"},"turn_detection":null})";
        const QByteArray turns = R"({"model":"gpt-4o-transcribe","language":"es"},
            "turn_detection":{"type":"server_vad","threshold":0.5,"prefix_padding_ms":300,
            "silence_duration_ms":450}})";
        for (const auto &[model, input, status] :
            { std::tuple { "gpt-4o", streaming, u"texto mientras se habla"_s },
                { "", streaming, u"texto mientras se habla"_s },
                { "gpt-4o-transcribe", turns, u"por turnos"_s } }) {
            const RowName named(model);
            restart();
            qputenv("VESPERLINE_LIVE_MODEL", model);
            activate();
            qunsetenv("VESPERLINE_LIVE_MODEL");
            QCOMPARE(m_log, QStringList { u"Modo en vivo activo (%1)."_s.arg(status) });
            const QJsonObject upgrade = m_peer.of("upgrade").at(0);
            QCOMPARE(field(upgrade, "path"), u"/v1/realtime?intent=transcription"_s);
            const QJsonObject headers = upgrade.value(u"headers").toObject();
            QCOMPARE(headers.size(), 6);
            QCOMPARE(field(headers, "authorization"), u"Bearer sk-secret"_s);
            const QByteArray expected = R"({"type":"session.update","session":{"type":
                "transcription","audio":{"input":{"format":{"type":"audio/pcm","rate":24000},
                "noise_reduction":{"type":"near_field"},"transcription":)"
                + input + "}}}";
            QCOMPARE(received("session.update").at(0), QJsonDocument::fromJson(expected).object());
        }
    }

    void reportsText()
    {
        activate();
        m_log.clear();
        delta("Hola ");
        delta("hermanos");
        m_peer.sendTranscript(" Hola hermanos. ");
        m_peer.sendTranscript("  ");
        delta("Sea");
        QTRY_COMPARE(m_log,
            (QStringList { u"~Hola "_s, u"~Hola hermanos"_s, u"=Hola hermanos. 0"_s, u"~Sea"_s }));
        m_live->pushAudio(signal({ { 50, 0.1 } }));
        m_clock.advanceUs(1'500'000);
        m_live->pushAudio(signal({ { 50, 0 } }));
        m_peer.sendTranscript("luz");
        QTRY_COMPARE(m_log.last(), u"=luz 1500"_s);
        m_peer.send(R"({"type":"input_audio_buffer.speech_stopped"})");
        m_peer.sendTranscript("fin");
        QTRY_COMPARE(m_log.last(), u"=fin 0"_s);
        const QByteArray echo = QByteArray(150, 'e') + "sk-secret-and-more";
        m_peer.send("{\"type\":\"error\",\"error\":{\"message\":\"" + echo + "\"}}");
        QTRY_COMPARE(m_log.last(), u"Error en vivo: "_s + u"e"_s.repeated(150) + u"•••-and-mo"_s);
        QVERIFY(m_live->isActive());
    }

    void readsEveryFraming()
    {
        const QByteArray head
            = "{\"type\":\"conversation.item.input_audio_transcription.delta\",\"delta\":\"";
        const QByteArray text(300, 'x'); // 16-bit length
        for (const char *mode : { "trickle", "accept" }) { // the first sends every byte by itself
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

    void triesTurnModeOnce()
    {
        m_live->start(u"sk-secret"_s, u"es"_s, {});
        QTRY_COMPARE(received("session.update").size(), std::size_t { 1 });
        const QByteArray error
            = "{\"type\":\"error\",\"error\":{\"message\":\"" + QByteArray(200, 'm') + "\"}}";
        m_peer.send(error);
        QTRY_COMPARE(received("session.update").size(), std::size_t { 2 });
        m_peer.send(error);
        QTRY_COMPARE(m_log,
            (QStringList { u"Modelo en vivo no disponible (%1); se intenta por turnos."_s.arg(
                               u"m"_s.repeated(80)),
                u"Error en vivo: "_s + u"m"_s.repeated(160),
                u"unavailable"_s }));
    }

    void failsAtEveryStage()
    {
        const QString failed = u"Conexión en vivo falló: "_s;
        const QString invalid = failed + u"respuesta no válida"_s;
        const QString closed = u"Conexión en vivo cerrada por el servidor."_s;
        const QString rejected
            = u"Modo en vivo rechazado: HTTP/1.1 401 Unauthorized\r\nX-Padding: "_s
            + u"x"_s.repeated(82);
        // The peer's mode; what it sends as it stands and does once active; how the status begins.
        for (const auto &[mode, hex, end, status] : { std::tuple { "plain", "", "", failed },
                 { "hangup", "", "", failed },
                 { "half", "", "", failed },
                 { "reject", "", "", rejected },
                 { "accept", "", "close", closed },
                 { "accept", "8800810161", "live", closed },
                 { "accept", "", "terminate", failed },
                 { "accept", "817e0100616263", "terminate", failed }, // within a frame
                 { "accept", "817fffffffffffffffff", "live", invalid },
                 { "accept", "61ff6e6f742061206672616d65", "live", invalid } }) {
            const RowName named(QByteArray(mode) + ' ' + hex + ' ' + end);
            restart(mode);
            if (*end == '\0') {
                m_live->start(u"sk-secret"_s, u"es"_s, {});
            } else {
                activate();
                m_log.clear();
                const QByteArray raw = QByteArray::fromHex(hex).toBase64();
                m_peer.command("{\"do\":\"raw\",\"base64\":\"" + raw + "\"}");
                m_peer.command(QByteArray("{\"do\":\"") + end + "\"}");
            }
            QTRY_COMPARE(m_log.size(), 2);
            QVERIFY2(m_log.first().startsWith(status), qPrintable(m_log.first()));
            QVERIFY(status != rejected || m_log.first() == status);
            QVERIFY(m_log.last() == u"unavailable" && !m_live->isActive());
            m_peer.live("accept");
            activate(); // the next session is none the worse
        }
    }

    void failsWhenTheNetworkStalls()
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

    void stopsInSilence()
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

    void commits()
    {
        const double voice = 0.1;
        const std::tuple<const char *, Stretches, int, const char *> rows[] {
            { "0.8 s and 450 ms", { { 800, voice }, { 450, 0 } }, 1, "" },
            { "a pause of 440 ms", { { 800, voice }, { 440, 0 } }, 0, "" },
            { "0.4 s and 0.5 s", { { 400, voice }, { 500, 0 } }, 0, "" },
            { "a sentence", { { 1850, voice }, { 150, 0 } }, 1, "Amén. " },
            { "a sentence too short", { { 1840, voice }, { 150, 0 } }, 0, "Amén?" },
            { "half a sentence", { { 1850, voice }, { 150, 0 } }, 0, "Amén," },
            { "7 s", { { 7000, voice } }, 1, "" },
            { "less than 7 s", { { 6990, voice } }, 0, "" },
            { "7 s with little voice", { { 490, voice }, { 6510, 0 } }, 0, "" },
            { "silence is forgotten after 3 s", { { 3000, 0 }, { 4000, voice } }, 0, "" },
            { "two", { { 900, voice }, { 600, 0 }, { 1000, voice }, { 500, 0 } }, 2, "" },
        };
        for (const auto &[name, stretches, expected, partial] : rows) {
            const RowName named(name);
            restart();
            activate();
            delta(partial);
            QTRY_COMPARE(m_log.size(), 2);
            const AudioBlock sound = signal(stretches);
            inPieces(sound, 480, [this](const AudioBlock &piece) { m_live->pushAudio(piece); });
            m_peer.command(R"({"do":"ping","data":""})");
            QTRY_COMPARE(m_peer.count("pong"), 1); // comes after all that was sent
            QCOMPARE(static_cast<int>(received("input_audio_buffer.commit").size()), expected);
            std::size_t sent = 0;
            for (const QJsonObject &append : received("input_audio_buffer.append")) {
                sent += QByteArray::fromBase64(field(append, "audio").toLatin1()).size();
            }
            const auto all = sound.samples.size() / 2; // a quarter of the values, two bytes each
            QVERIFY2(sent <= all && sent + 4800 > all, "all but the last tenth is sent, once");
        }
    }

    void raisesQuietVoices()
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

private:
    void restart(const char *mode = "accept")
    {
        cleanup();
        m_live.reset();
        m_peer.live(mode);
        m_peer.events.clear();
        m_log.clear();
        m_live = std::make_unique<LiveTranscriber>(m_clock, m_peer.endpoint());
        m_live->status = [this](const Message &text) { m_log.append(text.spanish()); };
        m_live->partial = [this](const QString &text) { m_log.append(u"~"_s + text); };
        m_live->turn = [this](const QString &text, const PhraseEnd &end) {
            m_log.append(u"=%1 %2"_s.arg(text).arg(m_clock.wallMs() - end.phraseTimeMs));
        };
        m_live->unavailable = [this](bool) { m_log.append(u"unavailable"_s); };
    }

    void activate()
    {
        m_peer.events.clear();
        m_live->start(u"sk-secret"_s, u"es"_s, u"Prédica"_s);
        QTRY_COMPARE(received("session.update").size(), std::size_t { 1 });
        m_live->pushAudio(signal({ { 3000, 0.1 } })); // too early: goes nowhere
        m_peer.send(R"({"type":"session.updated"})");
        QTRY_VERIFY(m_live->isActive());
    }

    void delta(const QByteArray &text)
    {
        m_peer.send("{\"type\":\"conversation.item.input_audio_transcription.delta\",\"delta\":\""
            + text + "\"}");
    }

    [[nodiscard]] std::vector<QJsonObject> received(const char *type) const
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

    ApiPeer m_peer;
    ManualClock m_clock;
    std::unique_ptr<LiveTranscriber> m_live;
    QStringList m_log; ///< every callback, in order
};

NIMBARA_TEST(LiveTranscriberTest)
#include "live_transcriber_test.moc"
