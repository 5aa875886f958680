#include "translation/engine_fixture.h"

#include <memory>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// What the engine does with phrases that the network, or a change of sessions, holds up.
class NetworkLossTest : public EngineFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart(); }
    void cleanup() { restart(); } // and looks for the key

    /// Of what is said while the network is away nothing is lost, but what no screen can use.
    void sendsAgainWhatTheNetworkLost()
    {
        for (const auto &[lost, inBody, awaySeconds, captions] :
            { std::tuple { transcriptions, false, 40, 13 },
                { transcriptions, true, 40, 13 },
                { responses, false, 40, 13 },
                { responses, true, 40, 13 },
                { responses, false, 91, 11 } }) {
            const RowName named(lost + QByteArray::number(awaySeconds) + (inBody ? "cut" : ""));
            restart();
            // Events come until the next row has begun.
            const auto away = std::make_shared<bool>(true);
            m_peer.onEvent
                = [this, away, path = QLatin1String(lost), cut = inBody](const QJsonObject &event) {
                      if (*away && field(event, "path") == path) {
                          m_peer.drop(event, cut);
                      } else if (field(event, "path") == QLatin1String(transcriptions)) {
                          transcribe(event, u"frase %1"_s.arg(m_peer.events.size()));
                      } else if (field(event, "path") == QLatin1String(responses)) {
                          translate(event, u"phrase"_s);
                      }
                  };
            QList<VoiceRoad> roads;
            m_engine->roadChanged = [&] { roads.append(m_engine->road()); };
            start();
            speak(2);
            QTRY_COMPARE(m_statuses.size(), 3); // neither came through
            QCOMPARE(m_engine->road(), VoiceRoad::Waiting);
            m_clock.advanceUs(awaySeconds * 1'000'000LL);
            QTRY_VERIFY(awaySeconds > 90 || m_statuses.size() > 3); // tried again
            *away = false;
            speak(11);
            m_clock.advanceUs(5'000'000);
            QTRY_COMPARE(m_captions.size(), captions);
            QVERIFY(!m_statuses.join(u'|').contains(u"omit"));
            QCOMPARE(roads, (QList { VoiceRoad::Phrases, VoiceRoad::Waiting, VoiceRoad::Phrases }));
        }
    }

    /// What a session hears then comes, too.
    void keepsLiveTurnsWhileTheNetworkIsAway()
    {
        const auto away = std::make_shared<bool>(true);
        m_peer.onEvent = [this, away](const QJsonObject &event) {
            if (field(event, "path") == QLatin1String(responses)) {
                *away ? m_peer.drop(event) : translate(event, u"phrase"_s);
            }
        };
        startLive();
        turn(u"frase 0"_s);
        QTRY_COMPARE(m_engine->road(), VoiceRoad::Waiting);
        for (int i = 1; i < 4; ++i) {
            turn(u"frase %1"_s.arg(i));
        }
        QTRY_COMPARE(m_heard.size(), 4);
        *away = false;
        m_clock.advanceUs(1'000'000);
        QTRY_COMPARE(m_captions.size(), 4);
    }

    /// A network that is away for some seconds takes the session and what was asked just before.
    /// When it is back, later phrases come first: the one before them was left out for being late.
    void keepsWhatWasUnderWayWhenTheSessionIsLost()
    {
        startLive();
        turn(u"uno"_s);
        const QJsonObject first = await(responses, 1).front();
        m_clock.advanceUs(6'500'000);
        hear(signal({ { 700, 0.2 } }));
        m_peer.command(R"({"do":"terminate"})");
        QTRY_COMPARE(m_engine->road(), VoiceRoad::Phrases);
        hear(signal({ { 600, 0.2 }, { 700, 0 } }));
        transcribe(await(transcriptions, 1).front(), u"dos"_s);
        const QJsonObject second = await(responses, 2).back();
        m_clock.advanceUs(2'000'000);
        translate(second, u"two"_s);
        interpret(u"tres"_s, u"three"_s); // by then the other is there
        m_clock.advanceUs(2'000'000);
        translate(first, u"one"_s);
        QTRY_COMPARE(m_captions, (QStringList { u"one"_s, u"two"_s, u"three"_s }));
    }

    /// Where one session follows another, transcripts wait for those before them, and that time is
    /// none of the translation's.
    void waitsForPhrasesOfASeam()
    {
        m_peer.command(R"({"do":"forget"})");
        m_peer.live("accept");
        startLive();
        m_clock.advanceUs(LiveRoad::renewAfterMs * 1000);
        QTRY_COMPARE(m_peer.count("text"), 2);
        tell(1, R"({"type":"session.updated"})");
        const bool relieved = QTest::qWaitFor([this] {
            hear(signal({ { 100, 0.2 }, { 400, 0 } }));
            return hasCommitted(0);
        });
        QVERIFY(relieved);
        for (const char *text : { "dos", "tres" }) {
            tell(1, completed(text));
        }
        tell(1, R"({"type":"conversation.item.input_audio_transcription.delta","delta":"y"})");
        QTRY_COMPARE(m_heard, QStringList { u"… y"_s }); // what came before it is held
        m_clock.advanceUs(5'000'000);
        tell(0, completed("uno"));
        const auto requests = await(responses, 3);
        m_clock.advanceUs(3'000'000);
        for (const auto &[request, text] :
            { std::pair { std::size_t { 2 }, u"three"_s }, { 1, u"two"_s }, { 0, u"one"_s } }) {
            translate(requests.at(request), text);
        }
        QTRY_COMPARE(m_captions, (QStringList { u"one"_s, u"two"_s, u"three"_s }));
    }
};

NIMBARA_TEST(NetworkLossTest)
#include "network_loss_test.moc"
