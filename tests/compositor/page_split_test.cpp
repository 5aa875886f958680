#include "compositor/page_evenness.h"
#include "compositor/text/page_pairs.h"
#include "compositor/text/page_split.h"
#include "support/test_registry.h"

#include <algorithm>
#include <array>
#include <random>
#include <utility>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// The most even of all splits of a few words that have no more pages than may be made.
double mostEven(const std::vector<PageWord> &words, const PageReach &reach)
{
    std::vector<std::pair<std::size_t, double>> splits; // how many pages, how even
    for (std::uint32_t cuts = 0; cuts < 1U << (words.size() - 1); ++cuts) {
        std::vector<PageRange> pages { { 0, 0 } };
        bool isAllowed = true;
        for (std::size_t word = 1; word < words.size(); ++word) {
            if ((cuts >> (word - 1) & 1U) != 0) {
                pages.back().end = word;
                pages.push_back({ word, 0 });
                isAllowed = isAllowed && words[word].before != PageEnd::Never;
            }
        }
        pages.back().end = words.size();
        for (const PageRange &page : pages) {
            isAllowed = isAllowed && page.end <= std::max(reach(page.first), page.first + 1);
        }
        if (isAllowed) {
            splits.emplace_back(pages.size(), evenness(words, pages));
        }
    }
    const std::size_t fewest
        = splits.empty() ? 0 : std::min_element(splits.begin(), splits.end())->first;
    double most = 0;
    for (const auto &[pages, even] : splits) {
        most = pages <= fewest + fewest / 2 + 2 ? std::max(most, even) : most;
    }
    return most;
}

} // namespace

/// The splitting of words and of pairs of them, without letters.
class PageSplitTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Against every split that there is. Balanced ones were missed where the pages that would do
    /// are few, as in the two or three lines of a lower third.
    void noSplitIsMoreEven()
    {
        std::mt19937 random(7);
        const auto below = [&random](int bound) { return static_cast<int>(random() % bound); };
        int uneven = 0;
        for (int turn = 0; turn < 300; ++turn) {
            std::vector<PageWord> words;
            for (int count = 4 + turn % 7; count > 0; --count) {
                const qsizetype begin = words.empty() ? 0 : words.back().end + 1;
                const bool isBound = words.size() > 1 && below(6) == 0;
                words.push_back({ begin,
                    begin + 1 + below(12),
                    isBound ? PageEnd::Never
                            : std::array { PageEnd::Comma, PageEnd::Blank }.at(below(2)),
                    0 });
            }
            std::vector<std::size_t> ends;
            for (std::size_t word = 0; word < words.size(); ++word) {
                const std::size_t end = word + 1 + static_cast<std::size_t>(below(5));
                ends.push_back(
                    std::min(ends.empty() ? end : std::max(end, ends.back()), words.size()));
            }
            const PageReach reach = [&ends](std::size_t first) { return ends[first]; };
            const double most = mostEven(words, reach);
            const auto pages = splitPages(words, reach);
            QVERIFY(evenness(words, pages) >= std::min(most, 0.75) - 1e-9);
            uneven += most < 0.75 ? 1 : 0;
        }
        QVERIFY(uneven > 20 && uneven < 250);
    }

    /// Word by word from the left, the longer text had all its rest behind the end of the other.
    void theLongerTextKeepsStep()
    {
        const PairedText four = pairedText(u"a b c d"_s, {});
        const PairedText eight = pairedText(u"a b c d e f g h"_s, {});
        for (const bool isLonger : { false, true }) {
            const auto pairs = isLonger ? pairWords(eight, four) : pairWords(four, eight);
            QStringList cuts;
            for (const PagePair &pair : pairs) {
                if (pair.before <= PageEnd::Blank) {
                    cuts << u"%1:%2"_s.arg(pair.first.first).arg(pair.second.first);
                }
            }
            QCOMPARE(cuts.join(u' '), isLonger ? u"0:0 2:1 4:2 6:3"_s : u"0:0 1:2 2:4 3:6"_s);
        }
    }
};

NIMBARA_TEST(PageSplitTest)
#include "page_split_test.moc"
