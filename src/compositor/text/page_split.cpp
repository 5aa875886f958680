#include "compositor/text/page_split.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

namespace nimbara {

namespace {

constexpr double balance = 0.75;

bool isOneOf(QChar sign, QStringView signs)
{
    return signs.contains(sign);
}

/// What the text pauses with behind the word.
PageEnd pauseAfter(QStringView word)
{
    while (!word.isEmpty() && isOneOf(word.back(), u")]}\"'»”’›")) {
        word.chop(1);
    }
    if (word.isEmpty()) {
        return PageEnd::Blank;
    }
    if (isOneOf(word.back(), u".?!…")) {
        return PageEnd::Sentence;
    }
    return isOneOf(word.back(), u",;:—–") ? PageEnd::Comma : PageEnd::Blank;
}

/// Splits the words within a band of lengths, each way of cutting at its price.
class Splitter {
public:
    Splitter(const std::vector<PageWord> &words, const PageReach &reach)
        : m_words(words)
        , m_reach(reach)
        , m_ends(words.size(), 0)
    {
    }

    struct Split {
        std::int64_t cuts = 0; ///< their price
        std::vector<PageRange> pages;
        double unevenness = 0;

        [[nodiscard]] bool betterThan(const Split &other) const
        {
            if (cuts != other.cuts) {
                return cuts < other.cuts;
            }
            return pages.size() != other.pages.size() ? pages.size() < other.pages.size()
                                                      : unevenness < other.unevenness;
        }
    };

    /// The fewest pages that there can be.
    std::size_t fewest()
    {
        std::size_t pages = 0;
        for (std::size_t first = 0; first < m_words.size(); ++pages) {
            std::size_t end = endOf(first);
            while (
                end < m_words.size() && end > first + 1 && m_words[end].before > PageEnd::Blank) {
                --end;
            }
            first = end;
        }
        return pages;
    }

    /// The best split at `worst` or better with pages from `least` to `most` characters.
    std::optional<Split> within(PageEnd worst, double least, double most)
    {
        const std::vector<std::size_t> &cuts = cutsAt(worst);
        std::vector<Step> steps(cuts.size());
        steps[0].cost = 0;
        std::vector<std::size_t> reached { 0 }; // the places where a page may begin
        std::size_t nearest = 0; // of those, the first behind which a page is too short
        std::size_t farthest = 0; // and the first behind which it is not too long
        for (std::size_t to = 1; to < cuts.size(); ++to) {
            const std::size_t cut = cuts[to];
            if (length(cuts[reached.back()], cut) > most) {
                return std::nullopt; // and so it stays: what is behind is farther still
            }
            while (nearest < reached.size() && length(cuts[reached[nearest]], cut) >= least) {
                ++nearest;
            }
            while (farthest < nearest && length(cuts[reached[farthest]], cut) > most) {
                ++farthest;
            }
            for (std::size_t place = nearest; place-- > farthest;) {
                const std::size_t from = reached[place];
                if (cut <= endOf(cuts[from])) {
                    const double off = length(cuts[from], cut) - (least + most) / 2;
                    steps[to].offer(steps[from], from, price(cut), off * off);
                }
            }
            if (steps[to].cost >= 0) {
                reached.push_back(to);
            }
        }
        return steps.back().cost < 0 ? std::nullopt : std::optional(read(steps, cuts));
    }

    /// No page is longer.
    double longest()
    {
        double most = 0;
        for (const std::size_t cut : cutsAt(PageEnd::Blank)) {
            most = cut < m_words.size() ? std::max(most, length(cut, endOf(cut))) : most;
        }
        return most;
    }

    /// The lengths of the shortest and the longest page of a split.
    struct Lengths {
        double least = 0;
        double most = 0;
    };

    /// Of the splits at any blank into pages of at most `most` characters, the one whose shortest
    /// page is the longest; none when there is no such split.
    std::optional<Lengths> evenest(double most)
    {
        const std::vector<std::size_t> &cuts = cutsAt(PageEnd::Blank);
        std::vector<Lengths> ways(cuts.size()); // the best one to each place; 0: none
        ways[0].least = std::numeric_limits<double>::max();
        for (std::size_t to = 1; to < cuts.size(); ++to) {
            for (std::size_t from = to; from-- > 0;) {
                const double page = length(cuts[from], cuts[to]);
                if (page > most) {
                    break;
                }
                const double least = std::min(ways[from].least, page);
                if (least > ways[to].least && cuts[to] <= endOf(cuts[from])) {
                    ways[to] = { least, std::max(ways[from].most, page) };
                }
            }
        }
        return ways.back().least > 0 ? std::optional(ways.back()) : std::nullopt;
    }

    [[nodiscard]] double length(std::size_t first, std::size_t end) const
    {
        return static_cast<double>(m_words[end - 1].end - m_words[first].begin);
    }

private:
    /// The best way to a cut.
    struct Step {
        std::int64_t cost = -1; ///< none yet
        std::size_t pages = 0;
        double unevenness = 0;
        std::size_t from = 0;

        void offer(const Step &before, std::size_t place, std::int64_t price, double off)
        {
            const Step other { before.cost + price,
                before.pages + 1,
                before.unevenness + off,
                place };
            const auto key
                = [](const Step &step) { return std::tie(step.cost, step.pages, step.unevenness); };
            if (cost < 0 || key(other) < key(*this)) {
                *this = other;
            }
        }
    };

    std::size_t endOf(std::size_t first)
    {
        if (m_ends[first] == 0) {
            m_ends[first] = std::clamp(m_reach(first), first + 1, m_words.size());
        }
        return m_ends[first];
    }

    const std::vector<std::size_t> &cutsAt(PageEnd worst)
    {
        std::vector<std::size_t> &cuts = m_cuts.at(static_cast<std::size_t>(worst));
        if (cuts.empty()) {
            cuts.push_back(0);
            for (std::size_t word = 1; word < m_words.size(); ++word) {
                if (m_words[word].before <= worst) {
                    cuts.push_back(word);
                }
            }
            cuts.push_back(m_words.size());
        }
        return cuts;
    }

    /// One cut at a worse place costs more than a few at better ones.
    [[nodiscard]] std::int64_t price(std::size_t cut) const
    {
        static constexpr std::array<std::int64_t, 6> prices { 0, 1, 4, 16, 10'000, 100'000'000 };
        return cut == m_words.size() ? 0 : prices.at(static_cast<std::size_t>(m_words[cut].before));
    }

    [[nodiscard]] static Split read(const std::vector<Step> &steps,
        const std::vector<std::size_t> &cuts)
    {
        Split split { steps.back().cost, {}, steps.back().unevenness };
        for (std::size_t to = steps.size() - 1; to > 0; to = steps[to].from) {
            split.pages.push_back({ cuts[steps[to].from], cuts[to] });
        }
        std::reverse(split.pages.begin(), split.pages.end());
        return split;
    }

    const std::vector<PageWord> &m_words;
    const PageReach &m_reach;
    std::vector<std::size_t> m_ends;
    std::array<std::vector<std::size_t>, 6> m_cuts; ///< by the worst place
};

/// Looks for the best split in bands of page lengths, none of them twice.
class BandSearch {
public:
    BandSearch(Splitter &splitter, PageEnd worst, double total)
        : m_splitter(splitter)
        , m_worst(worst)
        , m_total(total)
    {
    }

    /// Tries bands of that many pages, more or less, none of them much shorter than the longest.
    void tryPages(std::size_t pages)
    {
        const double mean = m_total / static_cast<double>(pages);
        // From pages of one length to the widest band whose middle is still the mean.
        constexpr double step = 0.04;
        constexpr auto bands = static_cast<std::int32_t>((1 / balance - 1) / step);
        double above = 1;
        for (std::int32_t band = 0; band < bands; ++band) {
            above += step;
            const double most = mean * above;
            if (isTried(most)) {
                continue;
            }
            m_tried.push_back(most);
            auto split = m_splitter.within(m_worst, balance * most, most);
            if (split && (m_best.pages.empty() || split->betterThan(m_best))) {
                m_best = std::move(*split);
            }
        }
    }

    /// Without pages when there is none.
    [[nodiscard]] Splitter::Split &best() { return m_best; }

private:
    /// Hundreds of pages have means beside each other.
    [[nodiscard]] bool isTried(double most) const
    {
        return std::any_of(m_tried.begin(), m_tried.end(), [most](double tried) {
            return std::abs(tried - most) < 0.01 * most;
        });
    }

    Splitter &m_splitter;
    PageEnd m_worst;
    double m_total;
    std::vector<double> m_tried;
    Splitter::Split m_best;
};

/// More pages than that are not made for the sake of balance.
std::size_t mostPages(std::size_t fewest)
{
    return fewest + fewest / 2 + 2;
}

/// None when no band has a split.
std::vector<PageRange> balanced(Splitter &splitter, PageEnd worst, double total, std::size_t fewest)
{
    BandSearch search(splitter, worst, total);
    for (std::size_t pages = fewest; pages <= mostPages(fewest); ++pages) {
        search.tryPages(pages);
        if (!search.best().pages.empty() && search.best().cuts == 0) {
            break;
        }
    }
    return std::move(search.best().pages);
}

/// The bands leave out what is only just balanced, and where nothing is, the most even split is
/// wanted. So every length that the longest page may have is tried, from above; down to the longest
/// page of what was found last, that would be found again.
std::vector<PageRange> evenest(Splitter &splitter, double total, std::size_t fewest)
{
    constexpr double manyCharacters = 1500; // beyond them, not every length: it would take long
    const double step = total > manyCharacters ? 0.02 : 0;
    Splitter::Lengths best;
    double share = 0;
    double most = splitter.longest();
    const double shortest = total / static_cast<double>(mostPages(fewest)) - 1;
    while (most > shortest && share < balance) {
        const auto found = splitter.evenest(most);
        if (!found) {
            break;
        }
        if (found->least > share * found->most) {
            best = *found;
            share = best.least / best.most;
        }
        most = std::min(found->most - 1, found->most * (1 - step));
    }
    auto split = splitter.within(PageEnd::Blank, best.least, best.most);
    if (!split) { // not even a number fits beside its word
        split = splitter.within(PageEnd::Never, 0, std::numeric_limits<double>::max());
    }
    return std::move(split->pages);
}

} // namespace

std::vector<PageWord> pageWords(const QString &text, const std::vector<qsizetype> &numbers)
{
    std::vector<PageWord> words;
    auto number = numbers.begin();
    bool behindNumber = false;
    for (qsizetype at = 0; at < text.size();) {
        PageWord word;
        for (; at < text.size() && text.at(at).isSpace(); ++at) {
            word.lines += text.at(at) == QLatin1Char('\n') ? 1 : 0;
        }
        word.begin = at;
        while (at < text.size() && !text.at(at).isSpace()) {
            ++at;
        }
        word.end = at;
        if (word.begin == word.end) {
            break;
        }
        const bool isNumber = number != numbers.end() && *number == word.begin;
        if (isNumber) {
            ++number;
            word.before = PageEnd::Verse;
        } else if (behindNumber) {
            word.before = PageEnd::Never;
        } else if (word.lines > 0) {
            word.before = PageEnd::Sentence;
        } else if (!words.empty()) {
            const PageWord &last = words.back();
            word.before = pauseAfter(QStringView(text).mid(last.begin, last.end - last.begin));
        }
        behindNumber = isNumber;
        words.push_back(word);
    }
    return words;
}

std::vector<PageRange> splitPages(const std::vector<PageWord> &words, const PageReach &reach)
{
    if (words.empty()) {
        return {};
    }
    Splitter splitter(words, reach);
    const std::size_t fewest = splitter.fewest();
    if (fewest <= 1) {
        return { { 0, words.size() } };
    }
    const double total = splitter.length(0, words.size());
    for (const PageEnd worst :
        { PageEnd::Verse, PageEnd::Sentence, PageEnd::Comma, PageEnd::Blank }) {
        auto pages = balanced(splitter, worst, total, fewest);
        if (!pages.empty()) {
            return pages;
        }
    }
    return evenest(splitter, total, fewest);
}

} // namespace nimbara
