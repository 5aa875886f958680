#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/// The splitting of a text into pages, as pure functions on words.
namespace nimbara {

/// What a page may end at, the best first. `Apart`: where two texts no longer say the same;
/// `Never`: behind the number of a verse, but for a page that cannot hold its word, too.
enum class PageEnd : std::int32_t { Verse, Sentence, Comma, Blank, Apart, Never };

/// A word of the text, with the blanks and line breaks before it left out.
struct PageWord {
    qsizetype begin = 0; ///< in the text
    qsizetype end = 0;
    PageEnd before = PageEnd::Blank; ///< what a page would end at that begins with this word
    std::int32_t lines = 0; ///< line breaks between the word before and this one
};

/// The words of a text. `numbers`: where verse numbers begin, in order; a number stays with the
/// word behind it.
std::vector<PageWord> pageWords(const QString &text, const std::vector<qsizetype> &numbers);

/// Words from `first` to before `end`.
struct PageRange {
    std::size_t first = 0;
    std::size_t end = 0;

    bool operator==(const PageRange &) const = default;
};

/// The end of the largest page that begins with the word; always beyond the word.
using PageReach = std::function<std::size_t(std::size_t first)>;

/// Splits words into pages within reach: at verses, else at sentences too, then commas, then
/// blanks, whatever first gives pages of which none has under 75 % of the longest one's characters;
/// of those splits the one that cuts the least, and then has the fewest pages. Where no split of
/// half as many pages again as there must be (and two) is that balanced, the most balanced one.
/// Every word is on one page; none for no words.
std::vector<PageRange> splitPages(const std::vector<PageWord> &words, const PageReach &reach);

} // namespace nimbara
