#include "bible/numbering.h"

#include "bible/canon.h"

#include <algorithm>
#include <array>

namespace bible {

namespace {

constexpr std::int32_t nehemiah = 15;
constexpr std::int32_t psalms = 18;
constexpr std::int32_t isaiah = 22;
constexpr std::int32_t joel = 28;
constexpr std::int32_t firstOfNew = 39;
constexpr std::int32_t secondCorinthians = 46;
constexpr std::int32_t thirdJohn = 63;
constexpr std::int32_t revelation = 65;
constexpr std::int32_t psalmCount = 150;

/// Chapters that are one verse shorter where they count otherwise from their beginning or middle
/// on, and their neighbours as the canon does.
struct Shorter {
    std::int32_t book, chapter, kept;
};
constexpr std::array<Shorter, 3> shorter {
    { { isaiah, 64, 0 }, { nehemiah, 7, 67 }, { secondCorinthians, 13, 11 } }
};

/// Its last verse is parted in two by many.
bool isPartedAtItsEnd(std::int32_t book, std::int32_t chapter)
{
    return (book == thirdJohn && chapter == 1) || (book == revelation && chapter == 12);
}

} // namespace

Numbering::Numbering(std::int32_t book, const RawBible::Chapters &chapters)
    : m_book(book)
    , m_chapters(chapters)
{
    constexpr std::int32_t longNinth = 30; // verses; the two together have 38
    m_isGreek = book == psalms && last(9) > longNinth;
    const std::int32_t highest = chapters.empty() ? 0 : chapters.rbegin()->first;
    if (book == joel && highest > canonChapters(book)) {
        m_parted = 1;
        while (m_parted < canonChapters(book) && excess(m_parted) == 0) {
            ++m_parted;
        }
    }
}

std::int32_t Numbering::last(std::int32_t chapter) const
{
    const auto found = m_chapters.find(chapter);
    return found == m_chapters.end() || found->second.empty() ? 0 : found->second.rbegin()->first;
}

/// Against the canon; 0 where there is no chapter to compare.
std::int32_t Numbering::excess(std::int32_t chapter) const
{
    return last(chapter) == 0 || canonVerses(m_book, chapter) == 0
        ? 0
        : last(chapter) - canonVerses(m_book, chapter);
}

/// Its beginning stands at the end of the chapter before, or the other way round.
bool Numbering::isMovedInto(std::int32_t chapter) const
{
    const std::int32_t before = excess(chapter - 1);
    const std::int32_t here = excess(chapter);
    return (before < 0 && here > 0) || (before > 0 && here < 0);
}

/// The verses too many are those that the next chapter lacks, or all of it.
bool Numbering::goesOnInNext(std::int32_t chapter) const
{
    return last(chapter + 1) == 0 ? canonVerses(m_book, chapter + 1) == excess(chapter)
                                  : excess(chapter + 1) == -excess(chapter);
}

std::int32_t Numbering::kept(std::int32_t chapter) const
{
    const std::int32_t count = canonVerses(m_book, chapter);
    if (m_book == psalms) {
        const bool isOther = m_isGreek && chapter >= 9 && chapter < psalmCount - 2;
        return isOther || excess(chapter) > 0 ? 0 : last(chapter);
    }
    if ((m_parted > 0 && chapter > m_parted) || isMovedInto(chapter)) {
        return 0;
    }
    if (excess(chapter) > 0) {
        const bool isSplit = isPartedAtItsEnd(m_book, chapter) && excess(chapter) == 1;
        return goesOnInNext(chapter) || isSplit ? count : 0;
    }
    for (const Shorter &each : shorter) {
        if (each.book == m_book && each.chapter == chapter && excess(chapter) == -1) {
            return each.kept;
        }
    }
    // There two verses are one, and nobody tells from where on.
    const bool isJoined = m_book >= firstOfNew && excess(chapter) == -1;
    return isJoined ? 0 : last(chapter);
}

bool Numbering::differs(std::int32_t chapter) const
{
    const bool isWithheld = last(chapter) > 0
        && kept(chapter) < std::min(last(chapter), canonVerses(m_book, chapter));
    const bool hasParted = m_parted > 0 && chapter >= m_parted;
    const bool goesOn = excess(chapter) < 0 && isMovedInto(chapter + 1);
    const bool isInLast
        = last(chapter) == 0 && excess(chapter - 1) > 0 && goesOnInNext(chapter - 1);
    return isWithheld || hasParted || goesOn || isInLast;
}

} // namespace bible
