#include "support/api_peer.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"
#include "translation/pipeline/engine.h"
#include "translation/service/openai/openai_service.h"
#include "translation/signal.h"
#include "translation/spoken_words.h"

#include <array>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// What ends a session, and the road that the voice takes because of it.
struct End {
    const char *event;
    VoiceRoad road;
};
constexpr std::array ends {
    End { R"({"do":"close"})", VoiceRoad::Phrases },
    End { R"({"do":"terminate"})", VoiceRoad::Phrases },
    End { R"({"do":"hush"})", VoiceRoad::Phrases },
    End { "refuses", VoiceRoad::Phrases },
    End { "away", VoiceRoad::Waiting },
};

} // namespace

/// A sermon in fast time against a service that hears each word, with its sessions ended in every
/// way. The speaker makes phrases of 2 to 4 s, and now and then one of 9 s without a pause.
/// NIMBARA_SERMON_MINUTES makes a whole service of it: there each way ends a session of ten
/// minutes, and then one of 25, until the service is over. Without it they stand for two minutes,
/// and one grows old.
class SermonTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void losesNoWord()
    {
        const int whole = qEnvironmentVariableIntValue("NIMBARA_SERMON_MINUTES");
        QVERIFY2(whole < 180, "three hours are the longest run");
        const std::int64_t wholeMs = (whole > 0 ? whole : 30) * 60'000LL;
        m_peer.command(R"({"do":"listen"})");
        connectEngine();
        m_engine.start(u"sk-secret"_s, u"English"_s, false, u"es"_s);
        if (whole == 0) {
            endSessions(2, wholeMs);
            endSession(2, { "ages", VoiceRoad::Live });
        } else {
            for (const int minutes : { 10, 25 }) {
                endSessions(minutes, wholeMs);
            }
            speakUntil(wholeMs);
        }
        QVERIFY(QTest::qWaitFor([this] { return m_heard.size() >= m_said.size(); }, 30000));
        for (qsizetype i = 0; i < m_said.size(); ++i) {
            const QString around = m_heard.mid(std::max(i - 5, qsizetype { 0 }), 12).join(u' ');
            QVERIFY2(m_heard.value(i) == m_said.at(i), qPrintable(m_said.at(i) + u": "_s + around));
        }
        QCOMPARE(m_heard.size(), m_said.size());
        QVERIFY2(m_skipped.isEmpty(), qPrintable(m_skipped.join(u'|')));
        // One each for the losses, of which a busy server turned some away twice, and the renewal.
        QCOMPARE(m_peer.count("closed"), m_ended);
        qInfo("%.0f minutes: %lld words in %d captions, each word once and in order; %d sessions "
              "ended",
            static_cast<double>(m_ms) / 60'000,
            static_cast<long long>(m_said.size()),
            m_captions,
            m_ended);
    }

private:
    void connectEngine()
    {
        m_engine.caption = [this](const Caption &caption) {
            m_heard += caption.text.split(u' ');
            ++m_captions;
        };
        m_engine.roadChanged = [this] {
            m_roads.append(m_engine.road());
            m_roadMs = m_ms;
        };
        m_engine.statusChanged = [this](const Message &message) {
            if (message.spanish().contains(u"omit")) {
                m_skipped.append(message.spanish());
            }
        };
    }

    /// In each way, as far as they come to their age.
    void endSessions(int minutes, std::int64_t wholeMs)
    {
        for (const End &end : ends) {
            if (m_roadMs + minutes * 60'000 + backMs < wholeMs && !QTest::currentTestFailed()) {
                endSession(minutes, end);
            }
        }
    }

    /// Lets the session stand so long before it ends.
    void endSession(int minutes, const End &end)
    {
        const RowName named(end.event);
        speakUntil(m_roadMs + minutes * 60'000);
        QCOMPARE(m_engine.road(), VoiceRoad::Live);
        m_roads.clear();
        const std::int64_t begin = m_ms;
        happen(end.event);
        ++m_ended;
        QVERIFY(m_roads.isEmpty() || m_roads.contains(end.road));
        QCOMPARE(m_roads.isEmpty(), end.road == VoiceRoad::Live);
        qInfo("%s after %d minutes: live again after %.1f s",
            end.event,
            minutes,
            static_cast<double>(m_roads.isEmpty() ? 0 : m_roadMs - begin) / 1000);
    }

    /// What ends the session, and a minute of the sermon after it.
    void happen(const QByteArray &event)
    {
        const std::int64_t begin = m_ms;
        sayHalf(m_ended % 2 == 0 ? 3 : 27);
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
        speakUntil(begin + backMs);
    }

    void speakUntil(std::int64_t ms)
    {
        while (m_ms < ms) {
            sayPhrase();
        }
    }

    /// Says a phrase, and lets it be heard to the end.
    void sayPhrase()
    {
        sayWords(m_random() % 12 == 0 ? 30 : 6 + static_cast<int>(m_random() % 8));
        hear(signal({ { 900, 0 } }));
        // The clock stands while the service answers; when it does not, it goes on slowly.
        m_behind = !QTest::qWaitFor([this] { return m_heard.size() >= m_said.size(); },
            m_behind ? 20 : 3000);
    }

    /// Says the first words of a phrase: the session is ended within it. What is longer than seven
    /// seconds has ended a phrase in the middle of a word by then.
    void sayHalf(int words)
    {
        sayWords(words);
        const auto heard = [this, most = words > 23 ? 6 : words] {
            return m_said.size() - m_heard.size() <= most;
        };
        QVERIFY(QTest::qWaitFor(heard, 30000));
    }

    void sayWords(int count)
    {
        for (int i = 0; i < count; ++i) {
            hear(spokenWord(m_word));
            m_said.append(u"w%1"_s.arg(m_word));
            m_word = (m_word + 1) % vocabulary;
        }
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

    /// By then a session has taken the voice again.
    static constexpr std::int64_t backMs = 90'000;

    ApiPeer m_peer;
    ManualClock m_clock;
    Translation m_engine { m_clock, std::make_unique<OpenAiProvider>(m_clock, m_peer.endpoint()) };
    std::mt19937 m_random { 20 };
    std::int64_t m_ms = 0; ///< of the sermon
    std::int64_t m_roadMs = 0; ///< when the voice took its road
    int m_ended = 0; ///< sessions
    int m_captions = 0;
    int m_word = 0;
    bool m_behind = false; ///< something that was said is not heard yet
    QStringList m_said;
    QStringList m_heard; ///< the words of the captions
    QStringList m_skipped;
    QList<VoiceRoad> m_roads;
};

NIMBARA_TEST(SermonTest)
#include "sermon_test.moc"
