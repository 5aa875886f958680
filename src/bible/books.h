#pragma once

#include <array>
#include <string_view>

namespace bible {

/// One book of the Protestant canon. All texts are UTF-8.
struct Book {
    std::string_view nameEn; ///< English display name
    std::string_view nameEs; ///< Spanish display name, with accents
    std::string_view aliases; ///< accepted short forms: lower case, no accents, joined by "|"
    std::string_view code; ///< three characters, as the API.Bible service names the book
};

/// The 66 books in canonical order. The index of a row is the identity of its book everywhere: in a
/// reference and in the built-in Bibles.
extern const std::array<Book, 66> books;

} // namespace bible
