#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/live_road.h"
#include "translation/service/openai/live_transcriber.h"
#include "translation/service/openai/openai_service.h"
#include "translation/signal.h"

#include <QJsonDocument>

#include <algorithm>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *turnModel = "gpt-4o-transcribe";

} // namespace

/// One session after the other against an independent WebSocket server, the clock cranked by hand.
class LiveRoadTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart("accept"); }
    void cleanup() { qunsetenv("VESPERLINE_LIVE_MODEL"); }

    void triesAgainLaterAndLater()
    {
        restart("busy");
        m_road->start(u"sk-secret"_s, u"es"_s, {});
        int upgrades = 1;
        for (const int seconds : { 2, 4, 8, 16, 30, 30 }) {
            QTRY_COMPARE(m_peer.count("upgrade"), upgrades);
            ++upgrades;
            QTRY_VERIFY(!m_road->isOpening());
            pass(seconds * 1000 - 1);
            QVERIFY(!m_road->isOpening());
            pass(1);
            QVERIFY(m_road->isOpening());
        }
        QCOMPARE(m_log.join(u'|'),
            u"Modo en vivo rechazado: HTTP/1.1 503 Service Unavailable|unavailable"_s);
    }

    void doesNotTryARefusedKeyAgain()
    {
        restart("reject");
        m_road->start(u"sk-secret"_s, u"es"_s, {});
        QTRY_COMPARE(m_log.value(1), u"unavailable"_s);
        pass(3'600'000);
        QVERIFY(!m_road->isOpening());
        // Later, too, and then the operator has to know.
        restart("busy");
        m_road->start(u"sk-secret"_s, u"es"_s, {});
        QTRY_COMPARE(m_log.size(), 2);
        m_peer.live("reject");
        pass(2000);
        QTRY_COMPARE(m_log.value(2), u"Modo en vivo rechazado: HTTP/1.1 401 Unauthorized"_s);
        pass(3'600'000);
        QVERIFY(!m_road->isOpening());
    }

    /// The next session is confirmed before the old one closes, and takes over in a pause. What the
    /// old one still owes comes first, by its own transcript or, when it is lost, as voice.
    void renews()
    {
        const std::pair<QByteArray, QStringList> rows[] {
            { "transcribed", { u"=uno"_s, u"=dos"_s } },
            { "lost", { u"owed 990"_s, u"=dos"_s } },
            { "silent", { u"owed 990"_s, u"=dos"_s } },
        };
        for (const auto &[end, expected] : rows) {
            const RowName named(end);
            restart("accept");
            open(0);
            pass(LiveRoad::renewAfterMs - 1);
            QCOMPARE(m_peer.count("upgrade"), 1);
            pass(1);
            confirm(1);
            say({ { 100, 0 }, { 200, 0.1 }, { 290, 0 }, { 100, 0.1 }, { 290, 0 } });
            QCOMPARE(appendedMs(1), 0); // that was no pause
            say({ { 10, 0 }, { 1000, 0.1 }, { 500, 0 } });
            QTRY_COMPARE(committed(1), 1);
            QTRY_COMPARE(committed(0), 1); // a word of 300 ms, too
            QCOMPARE(appendedMs(0), 990);
            QCOMPARE(appendedMs(1), 1450);
            transcript(1, "dos");
            tell(1,
                R"({"type":"conversation.item.input_audio_transcription.delta","delta":"tres"})");
            QTRY_COMPARE(m_log.last(), u"~tres"_s); // both have come
            m_log.clear();
            if (end == "transcribed") {
                transcript(0, "uno");
            } else if (end == "lost") {
                m_peer.command(R"({"do":"terminate","session":0})");
            } else {
                pass(LiveTranscriber::answerPatienceMs + 1);
            }
            QTRY_COMPARE((m_road->tick(), m_log), expected);
            QTRY_VERIFY(hasClosed(0));
            QVERIFY(m_road->isOpen());
        }
    }

    /// A speaker who makes no pause: the word that the voice changed sessions in was heard in half
    /// by each.
    void renewsBetweenWords()
    {
        open(0);
        pass(LiveRoad::renewAfterMs);
        confirm(1);
        pass(LiveRoad::pausePatienceMs + 1);
        say(words(24));
        QTRY_COMPARE(committed(0), 1);
        QCOMPARE(appendedMs(0), 290);
        QTRY_COMPARE(committed(1), 0);
    }

    /// A phrase that ends by its length ends within a word. When the session was lost after its
    /// transcript, the other road got half of that word.
    void keepsTheWordThatAPhraseEndsIn()
    {
        open(0);
        say(words(24)); // of which 7 s are a phrase
        QTRY_COMPARE(committed(0), 1);
        transcript(0, "veintitrés");
        QTRY_COMPARE(m_log.last(), u"=veintitrés"_s);
        m_peer.command(R"({"do":"terminate"})");
        QTRY_VERIFY(m_log.contains(u"owed 300"_s));
        // And of a long silence before a word there is no more than it takes to hear it.
        restart("accept");
        open(0);
        say({ { 1900, 0 }, { 200, 0.1 } });
        m_peer.command(R"({"do":"terminate"})");
        QTRY_VERIFY(m_log.contains(u"owed 500"_s));
    }

    /// A term that is added in mid-service was heard with the renewal only, an hour later.
    void tellsTheOpenSessionOfTerms()
    {
        open(0);
        m_road->setPrompt(u"Halvenmoor"_s);
        m_road->setPrompt(u"Halvenmoor"_s);
        QTRY_COMPARE(messages(0, "session.update").size(), std::size_t { 2 });
        QVERIFY(
            QJsonDocument(messages(0, "session.update").back()).toJson().contains("Halvenmoor"));
        m_log.clear();
        tell(0, R"({"type":"session.updated"})");
        transcript(0, "uno");
        QTRY_COMPARE(m_log, QStringList { u"=uno"_s }); // it is live as before
        QCOMPARE(messages(0, "session.update").size(), std::size_t { 2 });
    }

    void givesUpASilentServer()
    {
        const QString silent = u"Conexión en vivo falló: el servidor no responde"_s;
        restart("mute");
        m_road->start(u"sk-secret"_s, u"es"_s, {});
        QTRY_COMPARE(m_peer.count("upgrade"), 1);
        pass(LiveTranscriber::connectPatienceMs);
        QVERIFY(m_log.isEmpty());
        pass(1);
        QCOMPARE(m_log, (QStringList { silent, u"unavailable"_s }));
        for (const char *model : { "gpt-live-transcribe", turnModel }) {
            const RowName named(model);
            restart("accept");
            qputenv("VESPERLINE_LIVE_MODEL", model);
            open(0);
            m_log.clear();
            say({ { 1000, 0.1 }, { 450, 0 }, { 200, 0.1 } });
            pass(LiveTranscriber::answerPatienceMs);
            QVERIFY(m_road->isOpen());
            pass(1);
            QCOMPARE(m_log, (QStringList { silent, u"owed 1650"_s, u"unavailable"_s }));
            pass(2000);
            confirm(1);
            QVERIFY(m_road->isReady());
        }
    }

    /// A turn ends when the server says so, and that may take it a while.
    void waitsForTheLastTurn()
    {
        for (const bool answers : { true, false }) {
            restart("accept");
            qputenv("VESPERLINE_LIVE_MODEL", turnModel);
            open(0);
            pass(LiveRoad::renewAfterMs);
            confirm(1);
            say({ { 300, 0.1 }, { 300, 0 } });
            transcript(1, "dos");
            tell(1,
                R"({"type":"conversation.item.input_audio_transcription.delta","delta":"tres"})");
            QTRY_COMPARE(m_log.last(), u"~tres"_s); // both have come
            m_log.clear();
            pass(2000);
            if (answers) {
                tell(0, R"({"type":"input_audio_buffer.speech_stopped"})");
                transcript(0, "uno");
            } else {
                pass(LiveTranscriber::answerPatienceMs);
            }
            const QString first = answers ? u"=uno"_s : u"owed 600"_s;
            QTRY_COMPARE((m_road->tick(), m_log), (QStringList { first, u"=dos"_s }));
        }
    }

private:
    void restart(const char *mode)
    {
        m_road = std::make_unique<LiveRoad>(m_clock, m_provider);
        m_peer.live(mode);
        m_peer.command(R"({"do":"forget"})");
        m_peer.live(mode);
        m_peer.events.clear();
        m_log.clear();
        m_road->status
            = [this](const Message &text) { m_log.append(text.spanish().section(u'\r', 0, 0)); };
        m_road->partial = [this](const QString &text) { m_log.append(u"~"_s + text); };
        m_road->turn
            = [this](const QString &text, const PhraseEnd &, bool) { m_log.append(u"="_s + text); };
        m_road->lost = [this](const std::deque<AudioBlock> &owed) {
            std::size_t values = 0;
            for (const AudioBlock &block : owed) {
                values += block.samples.size();
            }
            m_log.append(u"owed %1"_s.arg(values / 96));
        };
        m_road->unavailable = [this] { m_log.append(u"unavailable"_s); };
    }

    void open(int session)
    {
        m_road->start(u"sk-secret"_s, u"es"_s, {});
        confirm(session);
        m_road->takeOver();
    }

    void confirm(int session)
    {
        QTRY_COMPARE(messages(session, "session.update").size(), std::size_t { 1 });
        tell(session, R"({"type":"session.updated"})");
        QTRY_VERIFY(!m_road->isOpening());
    }

    void transcript(int session, const QByteArray &text)
    {
        tell(session,
            "{\"type\":\"conversation.item.input_audio_transcription.completed\","
            "\"transcript\":\""
                + text + "\"}");
    }

    void tell(int session, const QByteArray &message)
    {
        const QJsonObject command { { u"do"_s, u"send"_s },
            { u"session"_s, session },
            { u"text"_s, QString::fromUtf8(message) } };
        m_peer.command(QJsonDocument(command).toJson(QJsonDocument::Compact));
    }

    void say(const Stretches &stretches)
    {
        inPieces(signal(stretches), 480, [this](const AudioBlock &piece) { m_road->push(piece); });
    }

    /// Of 240 ms each, and 60 ms between two.
    static Stretches words(int count)
    {
        Stretches said;
        for (int i = 0; i < count; ++i) {
            said += Stretches { { 240, 0.1 }, { 60, 0 } };
        }
        return said;
    }

    void pass(std::int64_t ms)
    {
        m_clock.advanceUs(ms * 1000);
        m_road->tick();
    }

    [[nodiscard]] std::vector<QJsonObject> messages(int session, const char *type) const
    {
        std::vector<QJsonObject> found;
        for (const QJsonObject &event : m_peer.of("text")) {
            const auto message = QJsonDocument::fromJson(field(event, "text").toUtf8()).object();
            if (event.value(u"session").toInt() == session
                && field(message, "type") == QLatin1String(type)) {
                found.push_back(message);
            }
        }
        return found;
    }

    [[nodiscard]] bool hasClosed(int session) const
    {
        const auto closed = m_peer.of("closed");
        return std::any_of(closed.begin(), closed.end(), [&](const QJsonObject &event) {
            return event.value(u"session").toInt() == session;
        });
    }

    [[nodiscard]] int committed(int session) const
    {
        return static_cast<int>(messages(session, "input_audio_buffer.commit").size());
    }

    [[nodiscard]] int appendedMs(int session) const
    {
        qsizetype bytes = 0;
        for (const QJsonObject &append : messages(session, "input_audio_buffer.append")) {
            bytes += QByteArray::fromBase64(field(append, "audio").toLatin1()).size();
        }
        return static_cast<int>(bytes / 48);
    }

    ApiPeer m_peer;
    ManualClock m_clock;
    OpenAiProvider m_provider { m_clock, m_peer.endpoint() };
    std::unique_ptr<LiveRoad> m_road;
    QStringList m_log; ///< every callback, in order
};

NIMBARA_TEST(LiveRoadTest)
#include "live_road_test.moc"
