#include "compositor/text/page_pairs.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace nimbara {

namespace {

/// How far from its place in the one text the same pause may be in the other, as a share of what
/// is divided.
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

/// The word, and the one behind it where it is a number.
PageRange wholeWord(const std::vector<PageWord> &words, std::size_t word, std::size_t most)
{
    std::size_t end = word + 1;
    while (end < most && words[end].before == PageEnd::Never) {
        ++end;
    }
    return { word, end };
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
        divide(PageEnd::Sentence);
        divide(PageEnd::Comma);
        divideAtBlanks();
    }

    void appendTo(std::vector<PagePair> &pairs) const
    {
        for (auto cut = m_cuts.begin(); std::next(cut) != m_cuts.end(); ++cut) {
            const auto next = std::next(cut);
            const PageRange first = wholeWord(m_first, cut->first, next->first);
            const PageRange second = wholeWord(m_second, cut->second.second, next->second.second);
            pairs.push_back({ first, second, cut->second.before, cut == m_cuts.begin() });
            // What has no partner is divided only where nothing else fits.
            for (std::size_t word = first.end; word < next->first; ++word) {
                pairs.push_back(
                    { { word, word + 1 }, { second.end, second.end }, PageEnd::Apart, false });
            }
            for (std::size_t word = second.end; word < next->second.second; ++word) {
                pairs.push_back(
                    { { next->first, next->first }, { word, word + 1 }, PageEnd::Apart, false });
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
            for (const std::size_t word : places(m_first, { from->first, to->first }, worst)) {
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
        double nearest = tolerance;
        for (const std::size_t other : places(m_second, range, worst)) {
            const double off = std::abs(share(m_second, range, other) - wanted);
            if (off < nearest) {
                nearest = off;
                found = other;
            }
        }
        return found;
    }

    /// Between the cuts that are there, at each blank of the text that has fewer of them. The other
    /// one is divided beside it, by how far both have come, so that no page has much of the one and
    /// little of the other.
    void divideAtBlanks()
    {
        std::map<std::size_t, Cut> cuts;
        for (auto from = m_cuts.begin(); std::next(from) != m_cuts.end(); ++from) {
            const auto to = std::next(from);
            const PageRange one { from->first, to->first };
            const PageRange other { from->second.second, to->second.second };
            const auto ones = places(m_first, one, PageEnd::Blank);
            const auto others = places(m_second, other, PageEnd::Blank);
            const bool isFewer = ones.size() <= others.size();
            const std::vector<std::size_t> beside = isFewer
                ? placesBeside(shares(m_first, one, ones), shares(m_second, other, others))
                : placesBeside(shares(m_second, other, others), shares(m_first, one, ones));
            for (std::size_t each = 0; each < beside.size(); ++each) {
                const std::size_t word = ones[isFewer ? each : beside[each]];
                cuts[word] = { others[isFewer ? beside[each] : each], PageEnd::Blank };
            }
        }
        m_cuts.merge(cuts);
    }

    /// For each of the fewer shares, in order, the nearest one of the others; none twice.
    static std::vector<std::size_t> placesBeside(const std::vector<double> &fewer,
        const std::vector<double> &others)
    {
        std::vector<std::size_t> beside;
        std::size_t next = 0;
        for (std::size_t each = 0; each < fewer.size(); ++each) {
            const std::size_t last = others.size() - (fewer.size() - each); // room for the rest
            while (next < last
                && std::abs(others[next + 1] - fewer[each])
                    < std::abs(others[next] - fewer[each])) {
                ++next;
            }
            beside.push_back(next++);
        }
        return beside;
    }

    /// Within the range, where a text pauses so or better.
    static std::vector<std::size_t>
    places(const std::vector<PageWord> &words, PageRange range, PageEnd worst)
    {
        std::vector<std::size_t> found;
        for (std::size_t word = range.first + 1; word < range.end; ++word) {
            if (words[word].before <= worst) {
                found.push_back(word);
            }
        }
        return found;
    }

    static std::vector<double> shares(const std::vector<PageWord> &words,
        PageRange range,
        const std::vector<std::size_t> &places)
    {
        std::vector<double> shares;
        shares.reserve(places.size());
        for (const std::size_t word : places) {
            shares.push_back(share(words, range, word));
        }
        return shares;
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
        const PageRange part = wholeWord(words, word, verse.end);
        const PageRange none { place, place };
        const bool begins = word == verse.first;
        pairs.push_back({ isFirst ? part : none,
            isFirst ? none : part,
            begins ? PageEnd::Verse : words[word].before,
            begins });
        word = part.end;
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
