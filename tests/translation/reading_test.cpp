#include "support/test_registry.h"
#include "translation/pipeline/reading.h"
#include "translation/sermon_text.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A minute of a sermon, as its translation comes: in phrases that end anywhere.
const QStringList sermon {
    u"Dios no nos llamó a una vida cómoda; nos llamó a una vida llena de propósito, y eso cuesta."_s,
    u"Yo me acuerdo de mi abuela, que se levantaba"_s,
    u"a las cuatro de la mañana para orar por cada uno de sus nietos, por nombre, sin faltar un solo día."_s,
    u"Amén."_s,
    u"¿Quién ora así hoy? ¿Quién se levanta cuando todos duermen?"_s,
    u"Hermanos, no les hablo de religión, ni de costumbres, ni de lo que la gente va a decir de nosotros"_s,
    u"sino de conocer a Aquel que nos conoce desde antes de la fundación del mundo y que no se cansa."_s,
};

/// What is read frame by frame, 33 ms apart, held to the rules.
class Reader {
public:
    static constexpr std::int64_t frameMs = 33;

    void add(const QString &phrase)
    {
        m_reading.add(phrase);
        m_said += phrase + u' ';
    }
    void see(std::int64_t now)
    {
        const bool mayHurry = m_reading.isHurried();
        if (!m_reading.advance(now)) {
            QCOMPARE(m_reading.block(), m_block); // what is shown does not change
            return;
        }
        const std::int64_t stood = now - m_shownMs;
        QVERIFY(m_block.isEmpty() || stood >= Reading::leastMs);
        QVERIFY(m_block.size() * 1000 <= (mayHurry ? 20 : 15) * stood);
        QVERIFY(stood < Reading::lifetimeMs + frameMs || m_block.isEmpty());
        m_hasHurried = m_hasHurried || mayHurry;
        m_block = m_reading.block();
        m_shownMs = now;
        m_blocks += m_block.isEmpty() ? 0 : 1;
        m_read += m_block.isEmpty() ? QString() : QString(m_block).replace(u'\n', u' ') + u' ';
        QVERIFY(m_block.count(u'\n') <= 1);
        for (const QString &line : m_block.split(u'\n')) {
            QVERIFY2(line.size() <= 37, qPrintable(line));
        }
    }
    [[nodiscard]] bool isShowing() const { return !m_reading.block().isEmpty(); }
    [[nodiscard]] const Reading &reading() const { return m_reading; }
    [[nodiscard]] bool hasHurried() const { return m_hasHurried; }
    [[nodiscard]] std::int64_t shownMs() const { return m_shownMs; }
    [[nodiscard]] int blocks() const { return m_blocks; }
    [[nodiscard]] const QString &said() const { return m_said; }
    [[nodiscard]] const QString &read() const { return m_read; }

private:
    Reading m_reading;
    QString m_said;
    QString m_read;
    QString m_block;
    std::int64_t m_shownMs = 0; ///< the block
    int m_blocks = 0;
    bool m_hasHurried = false;
};

} // namespace

class ReadingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cutsAtClauses()
    {
        const std::tuple<QString, QString> rows[] {
            { u"Amén."_s, u"Amén."_s },
            { u"  Gracia  y\npaz. "_s, u"Gracia y paz."_s },
            // 37 letters are a line, and 38 are two.
            { u"abcdefghi abcdefghi abcdefghi abcdefg"_s,
                u"abcdefghi abcdefghi abcdefghi abcdefg"_s },
            { u"abcdefghi abcdefghi abcdefghi abcdefgh"_s,
                u"abcdefghi abcdefghi/abcdefghi abcdefgh"_s },
            { u"Dios es bueno en todo tiempo. Por eso venimos hoy a darle gracias con todo el corazón"_s,
                u"Dios es bueno en todo tiempo.|Por eso venimos hoy a darle/gracias con todo el corazón"_s },
            { u"The Lord is my shepherd, I shall not want, and he makes me lie down in green pastures"_s,
                u"The Lord is my shepherd, I shall/not want, and he makes me lie down|in green pastures"_s },
            { u"神は愛です。愛のうちにいる者は神のうちにおり、神もその人のうちにおられます。感謝します。"_s,
                u"神は愛です。愛のうちにいる者は神のうち/におり、神もその人のうちにおられます。|感謝します。"_s },
            { u"태초에 하나님이 천지를 창조하시니라 그 땅이 혼돈하고 공허하며"_s,
                u"태초에 하나님이 천지를 창조하시니라/그 땅이 혼돈하고 공허하며"_s },
            { u"x"_s.repeated(80),
                u"x"_s.repeated(37) + u'/' + u"x"_s.repeated(37) + u"|xxxxxx"_s },
        };
        for (const auto &[text, expected] : rows) {
            const RowName named(text.toUtf8());
            QStringList blocks;
            for (QString rest = text; !rest.isEmpty();) {
                const reading::Cut cut = reading::takeBlock(rest);
                blocks.append(cut.lines.join(u'/'));
                rest = cut.rest;
            }
            QCOMPARE(blocks.join(u'|'), expected);
        }
        QVERIFY(reading::takeBlock(u" \n"_s).lines.isEmpty());
    }

    void joinsPhrases()
    {
        const std::tuple<QString, QString, QString> rows[] {
            { u"Gracia."_s, u"Paz."_s, u"Gracia. Paz."_s },
            { u"यह है"_s, u"वह है"_s, u"यह है वह है"_s },
            { u"اللهُ"_s, u"مَحَبَّةٌ"_s, u"اللهُ مَحَبَّةٌ"_s },
            { u"하나님은"_s, u"사랑이시라"_s, u"하나님은 사랑이시라"_s },
            { u"神は"_s, u"愛です。"_s, u"神は愛です。"_s },
            { u"ゴスペル"_s, u"です、"_s, u"ゴスペルです、"_s },
            { u"神爱世人。"_s, u"阿们！"_s, u"神爱世人。阿们！"_s },
        };
        for (const auto &[first, second, block] : rows) {
            Reading reading;
            reading.add(first);
            reading.add(second);
            reading.advance(0);
            QCOMPARE(reading.block(), block);
        }
    }

    void tellsWhichPhrasesAreShown()
    {
        Reading reading;
        const auto shown = [&](std::int64_t nowMs) {
            reading.advance(nowMs);
            const Reading::Shown told = reading.takeShown();
            return std::pair(told.begun, told.ended);
        };
        QVERIFY(reading.add(u"Gracia y paz a todos ustedes, mis queridos hermanos."_s));
        QVERIFY(!reading.add(u"[Música]"_s));
        QVERIFY(reading.add(u"que el Señor guarde a cada familia de esta ciudad."_s));
        QCOMPARE(shown(0), (std::pair<qsizetype, qsizetype>(1, 1)));
        QCOMPARE(shown(10), (std::pair<qsizetype, qsizetype>(0, 0)));
        QCOMPARE(shown(5000), (std::pair<qsizetype, qsizetype>(1, 1)));
    }

    void holdsTheRaisedPace()
    {
        Reading reading;
        reading.add(sermon.join(u' '));
        std::int64_t now = 0;
        for (; reading.backlogMs() > Reading::calmBelowMs; now += 100) {
            reading.advance(now);
        }
        now -= 200; // more waited then
        reading.advance(now + Reading::calmAfterMs - 1);
        QVERIFY(reading.isHurried());
        reading.advance(now + Reading::calmAfterMs);
        QVERIFY(!reading.isHurried());
    }

    void showsOnlyWhatIsSpoken()
    {
        const std::pair<QString, QString> rows[] {
            { u"[Música]"_s, {} },
            { u"(applause)"_s, {} },
            { u"*risas*."_s, {} },
            { u"♪ la la la ♪"_s, {} },
            { u"… ?"_s, {} },
            { u"[Aplausos] Gracias, hermanos"_s, u"Gracias, hermanos"_s },
            { u"Dice Juan (3:16) así"_s, u"Dice Juan (3:16) así"_s },
            { u"愛"_s, u"愛"_s },
        };
        for (const auto &[text, spoken] : rows) {
            QCOMPARE(reading::spokenText(text), spoken);
        }
    }

    /// Ten minutes at so many letters per second: within the limits, every word once and in order,
    /// and nothing waits for long.
    void keepsThePace()
    {
        const std::tuple<const char *, int, bool> rows[] {
            { "slow", 10, false },
            { "fast", 18, true },
        };
        for (const auto &[name, lettersPerSecond, hurries] : rows) {
            const RowName named(name);
            Reader reader;
            std::int64_t dueMs = 0;
            std::int64_t endMs = 0;
            qsizetype next = 0;
            for (std::int64_t now = 0; now < 600'000 || reader.isShowing();
                 now += Reader::frameMs) {
                if (now < 600'000 && now >= dueMs) {
                    const QString &phrase = sermon.at(next++ % sermon.size());
                    reader.add(phrase);
                    dueMs += phrase.size() * 1000 / lettersPerSecond;
                    endMs = now;
                }
                reader.see(now);
                QVERIFY2(reader.shownMs() < endMs + 30'000, "the backlog is gone");
            }
            QCOMPARE(reader.read(), reader.said());
            QCOMPARE(reader.hasHurried(), hurries);
        }
    }

    /// The same of a whole sermon in each language: at 130 words a minute, five minutes of it at
    /// 175, and what has piled up then is gone half a minute later.
    void keepsThePaceOfASermon()
    {
        constexpr std::int64_t fastMs = 600'000;
        constexpr std::int64_t calmMs = 900'000;
        for (const char *name : { "sermon_es.txt", "sermon_en.txt" }) {
            const RowName named(name);
            const QStringList phrases = phrasesOf(QLatin1String(name));
            Reader reader;
            std::int64_t dueMs = 0; // the next phrase is spoken to its end
            std::int64_t most = 0;
            std::int64_t goneMs = 0;
            qsizetype next = 0;
            std::int64_t now = 0;
            for (; next < phrases.size() || reader.isShowing(); now += Reader::frameMs) {
                if (next < phrases.size() && now >= dueMs) {
                    reader.add(phrases.at(next++));
                    const qsizetype words = phrases.value(next).count(u' ') + 1;
                    dueMs += words * 60'000 / (now >= fastMs && now < calmMs ? 200 : 130);
                }
                reader.see(now);
                most = std::max(most, reader.reading().backlogMs());
                const bool isGone = reader.reading().backlogMs() <= Reading::calmBelowMs;
                goneMs = goneMs == 0 && now >= calmMs && isGone ? now : goneMs;
            }
            QVERIFY(reader.read().count(u' ') >= 20 * 130);
            QVERIFY(reader.hasHurried());
            QVERIFY2(goneMs > 0 && goneMs - calmMs < 30'000, qPrintable(QString::number(goneMs)));
            QCOMPARE(reader.read(), reader.said());
            qInfo("%.0f minutes, %d blocks; at most %.1f s of text waited, gone %.1f s after the "
                  "fastest",
                static_cast<double>(now) / 60'000,
                reader.blocks(),
                static_cast<double>(most) / 1000,
                static_cast<double>(goneMs - calmMs) / 1000);
        }
    }
};

NIMBARA_TEST(ReadingTest)
#include "reading_test.moc"
