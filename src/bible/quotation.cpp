#include "bible/quotation.h"

#include "bible/next_verse.h"
#include "bible/reference.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <map>
#include <vector>

namespace bible {

namespace {

/// How far behind the passage a reader is followed.
constexpr qsizetype versesBehind = 10;
/// No whole book is held against every phrase.
constexpr qsizetype mostVerses = 60;
constexpr std::ptrdiff_t fewestWords = 4;
constexpr std::ptrdiff_t wordsOfVerse = 3;

QStringList wordsOf(const QString &text)
{
    static const QRegularExpression others(QStringLiteral("[^\\p{L}\\p{N}]+"),
        QRegularExpression::UseUnicodePropertiesOption);
    return normalize(text).split(others, Qt::SkipEmptyParts);
}

Passage verseOf(std::int32_t book, std::int32_t chapter, std::int32_t verse)
{
    return { book, { { chapter, verse, chapter, verse } } };
}

/// The verses of the passage and those behind it, each alone.
QList<Passage> versesFrom(const Bible &bible, const Passage &passage)
{
    QList<Passage> verses;
    for (const Span &span : passage.spans) {
        const auto isWithin = [&span](const Span &at) {
            return at.chapterFrom < span.chapterTo
                || (at.chapterFrom == span.chapterTo
                    && (span.isWhole() || at.verseFrom <= span.verseTo));
        };
        std::optional<Passage> verse
            = verseOf(passage.book, span.chapterFrom, std::max(span.verseFrom, 1));
        for (qsizetype behind = 0; verse && verses.size() < mostVerses;) {
            const Span &at = verse->spans.first();
            behind += isWithin(at) ? 0 : 1;
            if (verse->book != passage.book || at.chapterFrom > span.chapterTo
                || behind > versesBehind) {
                break;
            }
            if (!verses.contains(*verse)) {
                verses.append(*verse);
            }
            verse = verseAfter(bible, *verse);
        }
    }
    return verses;
}

/// The best way to lay two rows of words beside each other, of some words of each: a same word is
/// worth as much as another one, left out or put in, costs.
class Alignment {
public:
    Alignment(const QStringList &one, const QStringList &other)
        : m_one(one)
        , m_other(other)
        , m_width(static_cast<std::size_t>(other.size()) + 1)
        , m_worth(m_width * (static_cast<std::size_t>(one.size()) + 1))
    {
        fill();
    }

    /// Places in the other row of the words that are the same, backwards.
    [[nodiscard]] std::vector<qsizetype> same() const
    {
        std::vector<qsizetype> places;
        qsizetype i = m_bestOne;
        qsizetype j = m_bestOther;
        while (i > 0 && j > 0 && at(i, j) > 0) {
            const bool isSame = m_one.at(i - 1) == m_other.at(j - 1);
            if (at(i, j) == at(i - 1, j - 1) + (isSame ? 1 : -1)) {
                if (isSame) {
                    places.push_back(j - 1);
                }
                --i;
                --j;
            } else if (at(i, j) == at(i - 1, j) - 1) {
                --i;
            } else {
                --j;
            }
        }
        return places;
    }

private:
    [[nodiscard]] int at(qsizetype i, qsizetype j) const
    {
        return m_worth[static_cast<std::size_t>(i) * m_width + static_cast<std::size_t>(j)];
    }
    void fill()
    {
        int best = 0;
        for (qsizetype i = 1; i <= m_one.size(); ++i) {
            for (qsizetype j = 1; j <= m_other.size(); ++j) {
                const int beside
                    = at(i - 1, j - 1) + (m_one.at(i - 1) == m_other.at(j - 1) ? 1 : -1);
                const int worth = std::max({ 0, beside, at(i - 1, j) - 1, at(i, j - 1) - 1 });
                m_worth[static_cast<std::size_t>(i) * m_width + static_cast<std::size_t>(j)]
                    = worth;
                if (worth > best) {
                    best = worth;
                    m_bestOne = i;
                    m_bestOther = j;
                }
            }
        }
    }

    const QStringList &m_one;
    const QStringList &m_other;
    std::size_t m_width;
    std::vector<int> m_worth;
    qsizetype m_bestOne = 0;
    qsizetype m_bestOther = 0;
};

} // namespace

QList<Passage> versesRead(const QString &said, const Bible &bible, const Passage &announced)
{
    const QStringList spoken = wordsOf(said);
    if (spoken.size() < fewestWords) {
        return {};
    }
    const QList<Passage> verses = versesFrom(bible, announced);
    QStringList written;
    QList<qsizetype> verseOfWord;
    for (qsizetype verse = 0; verse < verses.size(); ++verse) {
        const QStringList words = wordsOf(passageText(bible, verses.at(verse)));
        written += words;
        verseOfWord.insert(verseOfWord.size(), words.size(), verse);
    }
    const std::vector<qsizetype> same = Alignment(spoken, written).same();
    const auto count = static_cast<qsizetype>(same.size());
    // Six words in ten: before the reading there may be the reference.
    if (count < fewestWords || count * 10 < spoken.size() * 6) {
        return {};
    }
    std::map<qsizetype, qsizetype> words; // of each verse
    for (const qsizetype place : same) {
        ++words[verseOfWord.at(place)];
    }
    QList<Passage> read;
    for (const auto &[verse, number] : words) {
        if (number >= wordsOfVerse) {
            read.append(verses.at(verse));
        }
    }
    return read;
}

} // namespace bible
