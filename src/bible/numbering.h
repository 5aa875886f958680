#pragma once

#include "bible/raw_bible.h"

#include <cstdint>

namespace bible {

/// How one book of a Bible counts its chapters and verses, held against the canon. Where the two
/// part (the titles of Psalms, Joel 3, the Greek Psalms) the same number means another verse, and
/// none is kept.
class Numbering {
public:
    Numbering(std::int32_t book, const RawBible::Chapters &chapters);

    /// How many verses of the chapter, from the first on, have the number that the canon gives
    /// them; what is missing among them is counted.
    [[nodiscard]] std::int32_t kept(std::int32_t chapter) const;
    /// What the canon has in the chapter stands elsewhere, at least in part.
    [[nodiscard]] bool differs(std::int32_t chapter) const;

private:
    [[nodiscard]] std::int32_t last(std::int32_t chapter) const;
    [[nodiscard]] std::int32_t excess(std::int32_t chapter) const;
    [[nodiscard]] bool isMovedInto(std::int32_t chapter) const;
    [[nodiscard]] bool goesOnInNext(std::int32_t chapter) const;

    std::int32_t m_book;
    const RawBible::Chapters &m_chapters;
    bool m_isGreek = false; ///< Psalms that count 9 and 10 as one
    std::int32_t m_parted = 0; ///< from the chapter behind this one all are other ones; 0: none
};

} // namespace bible
