#pragma once

#include "bible/spoken_words.h"

#include <cstdint>
#include <optional>

/// Names of books in speech: whole names alone, for an abbreviation may be any word. Pure.
namespace bible::spoken {

struct BookName {
    std::int32_t book = -1; ///< index into `books`
    qsizetype end = 0; ///< the first word behind the name
    /// The name may be a word like any other: "hechos", "Mark".
    bool isCommon = false;
    bool isPsalm = false;
};

/// The book named at `at`: "Romanos", "primera carta de Pablo a los Corintios", "the Second Book of
/// Kings". None when no book is named there, or a numbered one without its number.
std::optional<BookName> bookAt(const Words &words, qsizetype at, Language language);

/// The same behind words that lead to it: "del evangelio según San Juan", "of the book of Job".
std::optional<BookName> bookBehind(const Words &words, qsizetype at, Language language);

} // namespace bible::spoken
