#pragma once

#include <QString>

#include <cstdint>

namespace bible {

/// A parsed reference. Numbers are as typed, not held against any Bible.
struct Ref {
    std::int32_t book = -1; ///< index into `books`; -1: not recognised
    std::int32_t chapter = 0; ///< from 1; 0: could not be read
    std::int32_t verseFrom = 0; ///< from 1; 0: the whole chapter
    std::int32_t verseTo = 0; ///< last verse; equals `verseFrom` when no range was typed

    /// Book and chapter can be looked up. The chapter may still be beyond the book's last.
    [[nodiscard]] bool usable() const { return book >= 0 && chapter >= 1; }

    bool operator==(const Ref &) const = default;
};

/// The matching key of a text: without accents (canonical decomposition, non-spacing marks
/// dropped), in lower case, trimmed, every run of white space one blank. "  JUAN   3 : 16 " gives
/// "juan 3 : 16".
QString normalize(const QString &text);

/// Reads "Juan 3:16", "1 Co 13:4-7", "Salmos 23". A book is found by its Spanish or English name or
/// by an alias; a beginning of at least two letters finds the book with the longest name or alias
/// that goes on from it. Anything unreadable gives `Ref {}`. Callable from any thread.
Ref parse(const QString &text);

/// The display label, "Juan 3:16". Exactly "es" gives the Spanish book names, any other language
/// the English ones. Empty when the book is not in the table.
QString label(const Ref &ref, const QString &lang);

} // namespace bible
