#include "compositor/text/page_pairs.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace nimbara {

namespace {

/// How far from its place in the one text the same pause may be in the other, as a share of what
/// is divided; blanks are wherever one is nearest.
constexpr double tolerance = 0.25;

/// The words of a verse in one text.
struct Verse {
    std::int32_t chapter = 0;
    std::int32_t verse = 0;
    PageRange words;
};

/// The whole text as one verse; none without words.
std::vector<Verse> wholeOf(const PairedText &text)
{
    return text.words.empty() ? std::vector<Verse>()
                              : std::vector<Verse> { { 0, 0, { 0, text.words.size() } } };
}

/// By its numbers, which begin the text and are not none.
std::vector<Verse> versesOf(const PairedText &text)
{
    std::vector<Verse> verses;
    std::size_t word = 0;
    for (const VerseMark &mark : text.marks) {
        while (word < text.words.size() && text.words[word].begin < mark.at) {
            ++word;
        }
        if (!verses.empty()) {
            verses.back().words.end = word;
        }
        verses.push_back({ mark.chapter, mark.verse, { word, word } });
    }
    verses.back().words.end = text.words.size();
    return verses;
}

bool isBefore(const Verse &one, const Verse &other)
{
    return one.chapter != other.chapter ? one.chapter < other.chapter : one.verse < other.verse;
}

/// Finds where both texts of a verse may be divided.
class VersePairing {
public:
    VersePairing(const PairedText &first,
        PageRange firstWords,
        const PairedText &second,
        PageRange secondWords)
        : m_first(first.words)
        , m_second(second.words)
    {
        m_cuts[firstWords.first] = { secondWords.first, PageEnd::Verse };
        m_cuts[firstWords.end] = { secondWords.end, PageEnd::Verse };
        for (const PageEnd worst : { PageEnd::Sentence, PageEnd::Comma, PageEnd::Blank }) {
            divide(worst);
        }
    }

    void appendTo(std::vector<PagePair> &pairs) const
    {
        for (auto cut = m_cuts.begin(); std::next(cut) != m_cuts.end(); ++cut) {
            const auto next = std::next(cut);
            const std::size_t first = cut->first;
            const std::size_t second = cut->second.second;
            pairs.push_back({ { first, first + 1 },
                { second, second + 1 },
                cut->second.before,
                cut == m_cuts.begin() });
            // What has no partner is divided only where nothing else fits.
            for (std::size_t word = first + 1; word < next->first; ++word) {
                pairs.push_back(
                    { { word, word + 1 }, { second + 1, second + 1 }, PageEnd::Never, false });
            }
            for (std::size_t word = second + 1; word < next->second.second; ++word) {
                pairs.push_back(
                    { { next->first, next->first }, { word, word + 1 }, PageEnd::Never, false });
            }
        }
    }

private:
    /// A place in the second text.
    struct Cut {
        std::size_t second = 0;
        PageEnd before = PageEnd::Verse;
    };

    /// Between the cuts that are there, from the left.
    void divide(PageEnd worst)
    {
        for (auto from = m_cuts.begin(); std::next(from) != m_cuts.end(); ++from) {
            const auto to = std::next(from);
            for (std::size_t word = from->first + 1; word < to->first; ++word) {
                if (m_first[word].before > worst) {
                    continue;
                }
                const auto second = match(word, *from, *to, worst);
                if (second) {
                    m_cuts[word] = { *second, worst };
                    break; // the next turn begins there
                }
            }
        }
    }

    using Place = std::pair<const std::size_t, Cut>;

    [[nodiscard]] std::optional<std::size_t>
    match(std::size_t word, const Place &from, const Place &to, PageEnd worst) const
    {
        const double wanted = share(m_first, { from.first, to.first }, word);
        const PageRange range { from.second.second, to.second.second };
        std::optional<std::size_t> found;
        double nearest = worst == PageEnd::Blank ? 1 : tolerance;
        for (std::size_t other = range.first + 1; other < range.end; ++other) {
            const double off = std::abs(share(m_second, range, other) - wanted);
            if (m_second[other].before <= worst && off < nearest) {
                nearest = off;
                found = other;
            }
        }
        return found;
    }

    /// How much of the range stands before the word.
    static double share(const std::vector<PageWord> &words, PageRange range, std::size_t word)
    {
        const auto begin = words[range.first].begin;
        return static_cast<double>(words[word].begin - begin)
            / static_cast<double>(words[range.end - 1].end - begin);
    }

    const std::vector<PageWord> &m_first;
    const std::vector<PageWord> &m_second;
    std::map<std::size_t, Cut> m_cuts; ///< by their place in the first text
};

/// A verse that the other text lacks is divided as any text. `isFirst`: it is of the first text;
/// `place`: where it would be in the other one.
void appendAlone(std::vector<PagePair> &pairs,
    const std::vector<PageWord> &words,
    PageRange verse,
    std::size_t place,
    bool isFirst)
{
    for (std::size_t word = verse.first; word < verse.end;) {
        std::size_t end = word + 1;
        while (end < verse.end && words[end].before == PageEnd::Never) {
            ++end;
        }
        const PageRange part { word, end };
        const PageRange none { place, place };
        const bool begins = word == verse.first;
        pairs.push_back({ isFirst ? part : none,
            isFirst ? none : part,
            begins ? PageEnd::Verse : words[word].before,
            begins });
        word = end;
    }
}

qsizetype lengthOf(const std::vector<PageWord> &words, PageRange range)
{
    return range.first == range.end ? 0 : words[range.end - 1].end - words[range.first].begin + 1;
}

} // namespace

PairedText pairedText(const QString &text, const QString &label)
{
    PairedText paired { {}, verseMarks(text, label) };
    std::vector<qsizetype> numbers;
    for (const VerseMark &mark : paired.marks) {
        numbers.push_back(mark.at);
    }
    paired.words = pageWords(text, numbers);
    return paired;
}

std::vector<PagePair> pairWords(const PairedText &first, const PairedText &second)
{
    const bool counted = !first.marks.empty() && !second.marks.empty();
    const std::vector<Verse> firsts = counted ? versesOf(first) : wholeOf(first);
    const std::vector<Verse> seconds = counted ? versesOf(second) : wholeOf(second);
    std::vector<PagePair> pairs;
    auto one = firsts.begin();
    auto other = seconds.begin();
    while (one != firsts.end() || other != seconds.end()) {
        const bool lacksSecond
            = other == seconds.end() || (one != firsts.end() && isBefore(*one, *other));
        const bool lacksFirst
            = one == firsts.end() || (other != seconds.end() && isBefore(*other, *one));
        if (lacksSecond) {
            const std::size_t place
                = other == seconds.end() ? second.words.size() : other->words.first;
            appendAlone(pairs, first.words, one->words, place, true);
        } else if (lacksFirst) {
            const std::size_t place = one == firsts.end() ? first.words.size() : one->words.first;
            appendAlone(pairs, second.words, other->words, place, false);
        } else {
            VersePairing(first, one->words, second, other->words).appendTo(pairs);
        }
        one += lacksFirst ? 0 : 1;
        other += lacksSecond ? 0 : 1;
    }
    return pairs;
}

std::vector<PageWord>
wordsOf(const std::vector<PagePair> &pairs, const PairedText &first, const PairedText &second)
{
    std::vector<PageWord> words;
    qsizetype at = 0;
    for (const PagePair &pair : pairs) {
        const qsizetype length
            = lengthOf(first.words, pair.first) + lengthOf(second.words, pair.second);
        words.push_back({ at, at + length - 1, pair.before, 0 });
        at += length;
    }
    return words;
}

} // namespace nimbara
