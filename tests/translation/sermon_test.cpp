#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/engine.h"
#include "translation/service/openai/openai_service.h"
#include "translation/signal.h"
#include "translation/spoken_words.h"

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// A sermon in fast time against a service that hears each word, with its sessions ended in every
/// way. The speaker makes phrases of 2 to 4 s, and now and then one of 9 s without a pause.
class SermonTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void losesNoWord()
    {
        m_peer.command(R"({"do":"listen"})");
        connectEngine();
        m_engine.start(u"sk-secret"_s, u"English"_s, false, u"es"_s);
        // Minute of the sermon, what happens then, and the road that the voice takes because of it.
        const std::tuple<int, const char *, VoiceRoad> events[] {
            { 2, R"({"do":"close"})", VoiceRoad::Phrases },
            { 4, R"({"do":"terminate"})", VoiceRoad::Phrases },
            { 6, R"({"do":"hush"})", VoiceRoad::Phrases },
            { 8, "refuses", VoiceRoad::Phrases },
            { 10, "away", VoiceRoad::Waiting },
            { 12, "ages", VoiceRoad::Live },
        };
        for (const auto &[minute, event, road] : events) {
            const RowName named(event);
            speakUntil(minute * 60'000);
            QCOMPARE(m_engine.road(), VoiceRoad::Live);
            m_roads.clear();
            happen(event);
            QVERIFY(m_roads.isEmpty() || m_roads.contains(road));
            QCOMPARE(m_roads.isEmpty(), road == VoiceRoad::Live);
        }
        QVERIFY(QTest::qWaitFor([this] { return m_heard.size() >= m_said.size(); }, 30000));
        for (qsizetype i = 0; i < m_said.size(); ++i) {
            const QString around = m_heard.mid(std::max(i - 5, qsizetype { 0 }), 12).join(u' ');
            QVERIFY2(m_heard.value(i) == m_said.at(i), qPrintable(m_said.at(i) + u": "_s + around));
        }
        QCOMPARE(m_heard.size(), m_said.size());
        QVERIFY2(m_skipped.isEmpty(), qPrintable(m_skipped.join(u'|')));
        // One each for five losses, two of which a busy server turned away, and the renewal.
        QCOMPARE(m_peer.count("closed"), 6);
    }

private:
    void connectEngine()
    {
        m_engine.caption = [this](const Caption &caption) { m_heard += caption.text.split(u' '); };
        m_engine.roadChanged = [this] { m_roads.append(m_engine.road()); };
        m_engine.statusChanged = [this](const Message &message) {
            if (message.spanish().contains(u"omit")) {
                m_skipped.append(message.spanish());
            }
        };
    }

    /// What ends the session, and a minute of the sermon after it.
    void happen(const QByteArray &event)
    {
        const std::int64_t begin = m_ms;
        sayPhrase(true); // the session is ended within a phrase
        if (event == "away") {
            m_peer.live("plain");
            m_peer.command(R"({"do":"cut"})");
            speakUntil(begin + 45'000);
            m_peer.live("accept");
        } else if (event == "refuses") {
            m_peer.live("busy");
            m_peer.command(R"({"do":"terminate"})");
            const int before = m_peer.count("upgrade");
            while (m_peer.count("upgrade") < before + 2 && m_ms < begin + 60'000) {
                sayPhrase();
            }
            m_peer.live("accept");
        } else if (event == "ages") {
            m_clock.advanceUs(LiveRoad::renewAfterMs * 1000);
        } else {
            m_peer.command(event);
        }
        speakUntil(begin + 90'000);
    }

    void speakUntil(std::int64_t ms)
    {
        while (m_ms < ms) {
            sayPhrase();
        }
    }

    /// Says a phrase, or its first words, and lets it be heard to the end.
    void sayPhrase(bool onlyHalf = false)
    {
        const int words = m_random() % 12 == 0 ? 30 : 6 + static_cast<int>(m_random() % 8);
        for (int i = 0; i < (onlyHalf ? 3 : words); ++i) {
            hear(spokenWord(m_word));
            m_said.append(u"w%1"_s.arg(m_word));
            m_word = (m_word + 1) % vocabulary;
        }
        if (onlyHalf) {
            return;
        }
        hear(signal({ { 900, 0 } }));
        // The clock stands while the service answers; when it does not, it goes on slowly.
        m_behind = !QTest::qWaitFor([this] { return m_heard.size() >= m_said.size(); },
            m_behind ? 20 : 3000);
    }

    void hear(const AudioBlock &sound)
    {
        inPieces(sound, 4800, [this](const AudioBlock &piece) {
            m_engine.processAudio(piece);
            m_clock.advanceUs(100'000);
            m_ms += 100;
            QTest::qWait(m_behind ? 10 : 0);
        });
    }

    ApiPeer m_peer;
    ManualClock m_clock;
    Translation m_engine { m_clock, std::make_unique<OpenAiProvider>(m_clock, m_peer.endpoint()) };
    std::mt19937 m_random { 20 };
    std::int64_t m_ms = 0; ///< of the sermon
    int m_word = 0;
    bool m_behind = false; ///< something that was said is not heard yet
    QStringList m_said;
    QStringList m_heard; ///< the words of the captions
    QStringList m_skipped;
    QList<VoiceRoad> m_roads;
};

NIMBARA_TEST(SermonTest)
#include "sermon_test.moc"
