#pragma once

#include <cstdint>

/// The chapters and verses that there are, as both built-in Bibles count them. Known before either
/// is loaded. Callable from any thread.
namespace bible {

/// Chapters of a book; 0 for an index outside the table of books.
std::int32_t canonChapters(std::int32_t book);

/// Verses of a chapter, from 1; 0 for a chapter that is not there.
std::int32_t canonVerses(std::int32_t book, std::int32_t chapter);

} // namespace bible
