#include "bible/builtin.h"
#include "bible/canon.h"
#include "bible/passage.h"
#include "compositor/page_columns.h"
#include "compositor/page_evenness.h"
#include "compositor/scene/verse_pager.h"
#include "compositor/text/page_pairs.h"
#include "compositor/text/page_split.h"
#include "compositor/text/text_overflow.h"
#include "compositor/text/verse_marks.h"
#include "compositor/text/word_widths.h"
#include "document/profile.h"
#include "support/test_registry.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <limits>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

struct Shown {
    QString text;
    QString label;
};

/// Every chapter of both Bibles, and every verse, as they are looked up.
template <typename Visit> void forEachPassage(int every, Visit visit)
{
    for (const bible::Bible *bible : { &bible::spanish(), &bible::english() }) {
        int count = 0;
        for (int book = 0; book < 66; ++book) {
            for (int chapter = 1; chapter <= bible::canonChapters(book); ++chapter) {
                const bible::Ref whole { book, chapter, 0, 0 };
                if (++count % every == 0) {
                    visit(Shown { bible::verseText(*bible, whole), label(whole, bible->lang) });
                }
                for (int verse = 1; verse <= bible::canonVerses(book, chapter); ++verse) {
                    const bible::Ref ref { book, chapter, verse, verse };
                    if (++count % every == 0) {
                        visit(Shown { bible::verseText(*bible, ref), label(ref, bible->lang) });
                    }
                }
            }
        }
    }
}

/// A page of equal letters: so many lines of so many of them.
std::vector<PageRange> split(const std::vector<PageWord> &words, int columns)
{
    return splitPages(words, [&](std::size_t first) {
        constexpr int lines = 5;
        int line = 1;
        qsizetype begin = words[first].begin;
        std::size_t word = first;
        for (; word < words.size(); ++word) {
            if (words[word].end - begin > columns) {
                begin = words[word].begin;
                line += word > first ? 1 : 0;
            }
            if (line > lines) {
                break;
            }
        }
        return word;
    });
}

std::vector<PageWord> wordsOf(const Shown &shown)
{
    std::vector<qsizetype> numbers;
    for (const VerseMark &mark : verseMarks(shown.text, shown.label)) {
        numbers.push_back(mark.at);
    }
    return pageWords(shown.text, numbers);
}

Layer layerOf(const Shown &shown, bool lowerThird)
{
    Layer layer = newLayer(LayerKind::Verse);
    layer.text = shown.text;
    layer.reference = shown.label + u" · Reina-Valera 1909"_s;
    if (lowerThird) {
        layer.y = 0.8;
        layer.h = 0.15;
    }
    return layer;
}

/// A passage in both Bibles at once, the second one without the verses that it has not.
struct Both {
    Shown first;
    Shown second;
};

template <typename Visit> void forEachInBoth(int every, Visit visit)
{
    const bible::Bible &spanish = bible::spanish();
    const bible::Bible &english = bible::english();
    int count = 0;
    for (int book = 0; book < 66; ++book) {
        for (int chapter = 1; chapter <= bible::canonChapters(book); ++chapter) {
            for (int verse = 0; verse <= bible::canonVerses(book, chapter); ++verse) {
                if (++count % every != 0) {
                    continue;
                }
                const bible::Passage passage { book, { { chapter, verse, chapter, verse } } };
                visit(Both { { bible::passageText(spanish, passage), label(passage, u"es"_s) },
                    { bible::presentText(english, passage), label(passage, u"en"_s) } });
            }
        }
    }
}

Layer bilingual(const Both &both, std::int32_t arrangement, bool lowerThird)
{
    Layer layer = layerOf(both.first, lowerThird);
    layer.secondText = both.second.text;
    layer.secondReference = both.second.label + u" · King James Version"_s;
    layer.arrangement = arrangement;
    return layer;
}

QStringList wordsOf(const QString &text)
{
    return text.split(QRegularExpression(u"\\s+"_s), Qt::SkipEmptyParts);
}

/// Every so many passages; all of them when NIMBARA_WHOLE_BIBLES asks for it.
int sampled(int every)
{
    return qEnvironmentVariableIntValue("NIMBARA_WHOLE_BIBLES") > 0 ? 1 : every;
}

/// What is found on the pages of many passages.
class Tally {
public:
    /// Looks at every page of the layer and tells the layout.
    VersePages look(Layer layer, FrameSize frame)
    {
        VersePages pages = pagesOf(layer, frame);
        qsizetype least = std::numeric_limits<qsizetype>::max();
        qsizetype most = 0;
        for (std::size_t each = 0; each < pages.pages.size(); ++each) {
            layer.page = static_cast<std::int32_t>(each);
            const VersePage &page = pages.pages[each];
            m_hidden += hiddenLines(pageShown(layer, pages), frame, page.numbers) > 0 ? 1 : 0;
            m_wide += isWithinColumns(drawn(layer, pages, frame)) ? 0 : 1;
            const qsizetype length = page.text.size() + page.second.size();
            least = std::min(least, length);
            most = std::max(most, length);
        }
        m_small += pages.size < layer.size * layer.smallest / 100 ? 1 : 0;
        m_pages += static_cast<int>(pages.pages.size());
        ++m_looked;
        m_split += pages.pages.size() > 1 ? 1 : 0;
        m_uneven += pages.pages.size() > 1 && least * 4 < most * 3 ? 1 : 0;
        return pages;
    }
    /// Counts a passage whose pages are not its text.
    void require(bool isWhole) { m_broken += isWhole ? 0 : 1; }

    /// What is wrong; empty when nothing is. So many of a thousand split texts may have a page
    /// under three quarters of their longest.
    [[nodiscard]] QByteArray faults(int mostUneven) const
    {
        const QByteArray figures
            = QStringLiteral("%1 layouts, %2 pages, %3 split: %4 pages with hidden lines, %5 too "
                             "wide, %6 texts broken, %7 too small, %8 uneven")
                  .arg(m_looked)
                  .arg(m_pages)
                  .arg(m_split)
                  .arg(m_hidden)
                  .arg(m_wide)
                  .arg(m_broken)
                  .arg(m_small)
                  .arg(m_uneven)
                  .toUtf8();
        qInfo("%s", figures.constData());
        const bool isWell = m_hidden == 0 && m_wide == 0 && m_broken == 0 && m_small == 0
            && m_uneven * 1000 <= mostUneven * m_split && m_split > 0;
        return isWell ? QByteArray() : figures;
    }

private:
    int m_looked = 0;
    int m_pages = 0;
    int m_split = 0;
    int m_hidden = 0;
    int m_wide = 0;
    int m_broken = 0;
    int m_small = 0;
    int m_uneven = 0;
};

constexpr std::array shapes { landscapeSize, streamSize(StreamProfile::Portrait) };

} // namespace

/// How verses are split into pages.
class VersePagesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { bible::prepare().waitForFinished(); }

    void numbersAreTheNextVerseOrWords()
    {
        struct Row {
            const char *label, *text, *marks;
        };
        const std::initializer_list<Row> rows {
            { "Juan 3:16-18", "16 a 17 b 18 c", "3:16 3:17 3:18" },
            { "1 Juan 3:16-17", "[16] a, 120 b [17] c", "3:16 3:17" },
            { "Juan 3:16,18; 4:2", "16 a 18 b 4:2 c", "3:16 3:18 4:2" },
            { "Juan 3:36-4:2", "36 a 4:1 b 2 c 5:1 d", "3:36 4:1 4:2 5:1" },
            { "Song of Solomon 2", "1 a 3 b 2 3 c", "2:1 2:2 2:3" },
            { "Salmos 23; 24", "1 a 2 b 24:1 c", "23:1 23:2 24:1" },
            { "Juan 3:36-4:2", "[36] a [1] b [2] c [1] d", "3:36 4:1 4:2" },
            { "Salmos 23-24", "[1] a [2] b [1] c", "23:1 23:2 24:1" },
            { "Juan 5:1-9", "1 a 2 b 3 c 5 d 8 e", "5:1 5:2 5:3 5:5 5:8" }, // not in every Bible
            { "Hechos 8", "36 a 38 b", "" },
            { "Marcos 9", "1 a 2 b 4 c 7 d", "9:1 9:2 9:4" },
            { "Job 38:41-39:2", "1 a 2 b", "39:1 39:2" },
            { "Juan 5:1-9", "1 a 12 b 2 c", "5:1 5:2" },
            { "Juan 3:16", "Porque 16 a 17 b", "" },
            { "", "1 a 2 b", "" },
        };
        for (const Row &row : rows) {
            QStringList read;
            for (const VerseMark &mark :
                verseMarks(QLatin1String(row.text), QLatin1String(row.label))) {
                read << u"%1:%2"_s.arg(mark.chapter).arg(mark.verse);
            }
            QCOMPARE(read.join(u' '), QLatin1String(row.marks));
        }
    }

    void pagesAreNamedByTheirVerses()
    {
        const QString text = u"34 a 35 b 36 c 4:1 d 2 e 5 f"_s;
        const QString label = u"Juan 3:34-4:2,5"_s;
        const auto marks = verseMarks(text, label);
        QCOMPARE(marks.size(), std::size_t { 6 });
        for (const auto &[first, last, named] : { std::tuple { 0, 0, "Juan 3:34" },
                 { 0, 1, "Juan 3:34-35" },
                 { 2, 4, "Juan 3:36-4:2" },
                 { 4, 5, "Juan 4:2,5" },
                 { 0, 5, "Juan 3:34-4:2,5" } }) {
            QCOMPARE(labelOf(label, marks, first, last), QLatin1String(named));
        }
        const QString apart = u"Mateo 5:11-12; 6:1-3"_s; // what lies between is not on the page
        const auto both = verseMarks(u"11 a 12 b 6:1 c 2 d 3 e"_s, apart);
        QCOMPARE(labelOf(apart, both, 0, 4), apart);
    }

    /// Every word of both Bibles is on one page, in its place, and no page is much shorter than
    /// another where a blank could be moved.
    void everyPassageIsWholeAndBalanced()
    {
        int uneven = 0;
        int split = 0;
        forEachPassage(1, [&](const Shown &shown) {
            const std::vector<PageWord> words = wordsOf(shown);
            for (const int columns : { 24, 60 }) {
                const auto pages = ::split(words, columns);
                std::size_t next = 0;
                for (const PageRange &page : pages) {
                    QCOMPARE(page.first, next);
                    QVERIFY(page.end > page.first);
                    next = page.end;
                }
                QCOMPARE(next, words.size());
                split += pages.size() > 1 ? 1 : 0;
                uneven += pages.size() > 1 && evenness(words, pages) < 0.75 ? 1 : 0;
            }
        });
        QVERIFY(split > 10'000);
        QCOMPARE(uneven, 0);
    }

    void endsAtTheBestPlace()
    {
        struct Row {
            const char *label, *text, *pages;
        };
        const std::initializer_list<Row> rows {
            { "Juan 3:1-4",
                "1 aaaa aaaa aaaa aaaa. 2 bbbb, bbbb bbbb bbbb 3 cccc cccc cccc cccc 4 dddd dddd "
                "dddd dddd",
                "1 aaaa aaaa aaaa aaaa. 2 bbbb, bbbb bbbb bbbb|3 cccc cccc cccc cccc 4 dddd dddd "
                "dddd "
                "dddd" },
            { "Juan 3:1",
                "aaaa aaaa, aaaa aaaa aaaa aaaa. bbbb, bbbb bbbb bbbb bbbb bbbb bbbb",
                "aaaa aaaa, aaaa aaaa aaaa aaaa.|bbbb, bbbb bbbb bbbb bbbb bbbb bbbb" },
            { "Juan 3:1",
                "a. aaaa aaaa aaaa aaaa aaaa aaaa, aaaa aaaa aaaa aaaa aaaa aaaa aaaa",
                "a. aaaa aaaa aaaa aaaa aaaa aaaa,|aaaa aaaa aaaa aaaa aaaa aaaa aaaa" },
            { "Juan 3:1",
                "aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa aaaa",
                "aaaa aaaa aaaa aaaa aaaa aaaa|aaaa aaaa aaaa aaaa aaaa aaaa" },
        };
        for (const Row &row : rows) {
            const Shown shown { QLatin1String(row.text), QLatin1String(row.label) };
            const auto words = wordsOf(shown);
            QStringList pages;
            for (const PageRange &page : ::split(words, 10)) {
                const qsizetype begin = words[page.first].begin;
                pages << shown.text.mid(begin, words[page.end - 1].end - begin);
            }
            QCOMPARE(pages.join(u'|'), QLatin1String(row.pages));
        }
    }

    /// Whether they are put together or shaped.
    void wordsAreAsWideAsTheyAreDrawn()
    {
        QStringList words = wordsOf(
            u"officina fjord afflicción הללו नमस्ते e\u0301l ١٢ 👍🏽 ffl"_s);
        for (const bible::Bible *bible : { &bible::spanish(), &bible::english() }) {
            words += wordsOf(bible::verseText(*bible, { 18, 119, 0, 0 }));
        }
        for (const auto &[family, size, bold] : { std::tuple { "Sans Serif", 48, true },
                 { "Serif", 29, false },
                 { "Monospace", 61, true } }) {
            QFont font(QLatin1String(family), -1, bold ? QFont::Bold : QFont::Normal);
            font.setPixelSize(size);
            const QFontMetricsF metrics(font);
            WordWidths widths(font);
            for (const QString &word : words) {
                QVERIFY2(std::abs(widths.width(word, metrics) - metrics.horizontalAdvance(word))
                        < 0.5,
                    qPrintable(word));
            }
        }
    }

    /// With real letters, in the box of a new layer and in a lower third, in both shapes: the pages
    /// joined are the text.
    void everyPageFitsAndNothingIsLost()
    {
        Tally tally;
        forEachPassage(sampled(197), [&tally](const Shown &shown) {
            for (const bool lowerThird : { false, true }) {
                for (const FrameSize frame : shapes) {
                    QString joined;
                    for (const VersePage &page :
                        tally.look(layerOf(shown, lowerThird), frame).pages) {
                        joined += page.text + u' ';
                    }
                    tally.require(joined.simplified() == shown.text.simplified());
                }
            }
        });
        const QByteArray faults = tally.faults(1);
        QVERIFY2(faults.isEmpty(), faults);
    }

    /// Every word of both Bibles is in one pair, in its place; a page of pairs has both languages
    /// wherever both have the verse, and none is much shorter than another.
    void twoBiblesAreSplitInStep()
    {
        int uneven = 0;
        int blank = 0;
        int split = 0;
        forEachInBoth(7, [&](const Both &both) {
            const PairedText first = pairedText(both.first.text, both.first.label);
            const PairedText second = pairedText(both.second.text, both.second.label);
            const std::vector<PagePair> pairs = pairWords(first, second);
            std::array<std::size_t, 2> next {};
            for (const PagePair &pair : pairs) {
                QCOMPARE(pair.first.first, next[0]);
                QCOMPARE(pair.second.first, next[1]);
                next = { pair.first.end, pair.second.end };
            }
            QCOMPARE(next[0], first.words.size());
            QCOMPARE(next[1], second.words.size());
            const std::vector<PageWord> words = wordsOf(pairs, first, second);
            const auto pages = ::split(words, 90);
            split += pages.size() > 1 ? 1 : 0;
            uneven += pages.size() > 1 && evenness(words, pages) < 0.75 ? 1 : 0;
            for (const PageRange &page : pages) {
                const PagePair &from = pairs[page.first];
                const PagePair &to = pairs[page.end - 1];
                blank += !first.words.empty() && !second.words.empty()
                    && (from.first.first == to.first.end || from.second.first == to.second.end);
            }
        });
        QVERIFY(split > 300);
        QCOMPARE(uneven, 0);
        QVERIFY2(blank <= 1, qPrintable(QString::number(blank))); // verses that one Bible lacks
    }

    /// The same with two Bibles, placed in each way in turn: the pages joined give both texts, each
    /// once.
    void pagesOfTwoBiblesShowEveryWord()
    {
        Tally tally;
        std::uint32_t turn = 0;
        forEachInBoth(sampled(389), [&](const Both &both) {
            QStringList wanted = wordsOf(both.first.text) + wordsOf(both.second.text);
            wanted.sort();
            ++turn;
            for (const bool lowerThird : { false, true }) {
                Layer layer = bilingual(both, static_cast<std::int32_t>(turn % 3), lowerThird);
                const FrameSize frame = shapes.at(turn / 3 % 2);
                layer.referencePlace = static_cast<std::int32_t>(turn % 2); // after or before
                tally.look(layer, frame);
                layer.referencePlace = reference_place::hidden;
                QStringList shown;
                for (const VersePage &page : tally.look(layer, frame).pages) {
                    shown << wordsOf(page.text) << wordsOf(page.second);
                }
                shown.sort();
                tally.require(shown == wanted);
            }
        });
        // A line holds little more than the words between two places where both can be divided.
        const QByteArray faults = tally.faults(25);
        QVERIFY2(faults.isEmpty(), faults);
    }

    /// A verse had more pages than lines where the name of its Bible took most of a narrow box.
    void aLongReferenceGivesWayToTheText()
    {
        const bible::Passage passage { 0, { { 49, 33, 49, 33 } } };
        const Both both { { bible::passageText(bible::spanish(), passage), u"Génesis 49:33"_s },
            { bible::presentText(bible::english(), passage), u"Genesis 49:33"_s } };
        for (const FrameSize frame : shapes) {
            const bool isNarrow = frame != landscapeSize;
            const VersePages pages = pagesOf(bilingual(both, arrange::beside, true), frame);
            const VersePage &page = pages.pages.front();
            QVERIFY(!page.namesItself && pages.pages.size() <= 4);
            QCOMPARE(page.reference,
                u"Génesis 49:33"_s + (isNarrow ? QString() : u" · Reina-Valera 1909"_s));
            QCOMPARE(page.secondReference,
                u"Genesis 49:33"_s + (isNarrow ? QString() : u" · King James Version"_s));
        }
    }

    /// Whatever the other thread has made by the time that they are asked for.
    void pagesMadeAheadAreTheSame()
    {
        VersePager pager;
        forEachInBoth(1471, [&pager](const Both &both) {
            std::vector<PagedLayer> layers;
            for (const FrameSize frame : shapes) {
                for (const std::int32_t arrangement : { arrange::above, arrange::beside }) {
                    layers.push_back({ bilingual(both, arrangement, true), frame });
                }
            }
            pager.makeAhead(layers);
            for (const PagedLayer &each : layers) {
                const VersePages &ahead = pager.pages(each.layer, each.frame);
                const VersePages now = pagesOf(each.layer, each.frame);
                QCOMPARE(ahead.size, now.size);
                QCOMPARE(ahead.pages.size(), now.pages.size());
                for (std::size_t page = 0; page < now.pages.size(); ++page) {
                    QCOMPARE(ahead.pages[page].text, now.pages[page].text);
                    QCOMPARE(ahead.pages[page].second, now.pages[page].second);
                }
            }
        });
    }

    void theTwoArePlacedAsChosen()
    {
        const Both both { { u"16 a 17 b"_s, u"Juan 3:16-17"_s },
            { u"16 x 17 y"_s, u"John 3:16-17"_s } };
        struct Row {
            std::int32_t arrangement, shows, place, numbers;
            const char *shown; ///< text | reference | second | its reference; E, I: the references
        };
        const std::initializer_list<Row> rows {
            { 0, 0, 0, 0, "16 a 17 b/E/16 x 17 y/I|||" },
            { 0, 0, 1, 0, "E/16 a 17 b/I/16 x 17 y|||" },
            { 0, 0, 2, 2, "a b/x y|||" },
            { 1, 0, 0, 0, "16 a 17 b|E|16 x 17 y|I" },
            { 2, 0, 0, 0, "16 a/16 x/17 b/17 y/E/I|||" },
            { 2, 0, 1, 2, "E/I/a/x/b/y|||" },
            { 1, 1, 0, 0, "16 a 17 b|E||" },
            { 2, 2, 0, 2, "x y|I||" },
        };
        for (const Row &row : rows) {
            Layer layer = bilingual(both, row.arrangement, false);
            const QString es = layer.reference;
            const QString en = layer.secondReference;
            layer.shows = row.shows;
            layer.referencePlace = row.place;
            layer.numbers = row.numbers;
            const Layer drawn = pageShown(layer, pagesOf(layer, landscapeSize));
            QStringList shown { drawn.text,
                drawn.reference,
                drawn.secondText,
                drawn.secondReference };
            shown.replaceInStrings(es, u"E"_s).replaceInStrings(en, u"I"_s);
            QCOMPARE(shown.join(u'|').replace(u'\n', u'/'), QLatin1String(row.shown));
        }
        // Nothing blank: what the second Bible lacks leaves the first one alone.
        Layer layer = bilingual({ both.first, {} }, arrange::beside, false);
        for (const std::int32_t shown : { 0, 1, 2 }) {
            layer.shows = shown;
            QCOMPARE(pageShown(layer, pagesOf(layer, landscapeSize)).text, both.first.text);
        }
    }

    void smallerComesBeforePages()
    {
        Layer layer
            = layerOf({ u"Porque de tal manera amó Dios al mundo. "_s.repeated(8), {} }, false);
        QCOMPARE(pagesOf(layer, landscapeSize).pages.size(), std::size_t { 1 });
        QVERIFY(pagesOf(layer, landscapeSize).size < 48);
        layer.smallest = 100;
        QVERIFY(pagesOf(layer, landscapeSize).pages.size() > 1);
        QCOMPARE(pagesOf(layer, landscapeSize).size, 48);
        layer.paged = false;
        QCOMPARE(pagesOf(layer, landscapeSize).pages.size(), std::size_t { 1 });
        QVERIFY(hiddenLines(layer, landscapeSize) > 0);
    }
};

NIMBARA_TEST(VersePagesTest)
#include "verse_pages_test.moc"
