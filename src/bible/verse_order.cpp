#include "bible/verse_order.h"

#include "bible/books.h"
#include "bible/canon.h"

#include <algorithm>
#include <vector>

namespace bible {

namespace {

struct Chapter {
    std::int32_t first = 0; ///< number of its first verse
    std::int32_t book = 0;
    std::int32_t chapter = 0;
};

/// With one behind the last.
const std::vector<Chapter> &chapters()
{
    static const std::vector<Chapter> all = [] {
        std::vector<Chapter> list;
        std::int32_t next = 0;
        for (std::int32_t book = 0; book < static_cast<std::int32_t>(books.size()); ++book) {
            for (std::int32_t chapter = 1; chapter <= canonChapters(book); ++chapter) {
                list.push_back({ next, book, chapter });
                next += canonVerses(book, chapter);
            }
        }
        list.push_back({ next, -1, 0 });
        return list;
    }();
    return all;
}

} // namespace

std::int32_t verseTotal()
{
    return chapters().back().first;
}

Ref verseAt(std::int32_t number)
{
    const auto behind = std::upper_bound(chapters().begin(),
        chapters().end(),
        number,
        [](std::int32_t value, const Chapter &chapter) { return value < chapter.first; });
    const Chapter &chapter = *(behind - 1);
    const std::int32_t verse = number - chapter.first + 1;
    return { chapter.book, chapter.chapter, verse, verse };
}

std::int32_t verseNumber(const Ref &verse)
{
    const auto chapter
        = std::find_if(chapters().begin(), chapters().end(), [&verse](const Chapter &each) {
              return each.book == verse.book && each.chapter == verse.chapter;
          });
    const bool exists = chapter != chapters().end() && verse.verseFrom >= 1
        && verse.verseFrom <= canonVerses(verse.book, verse.chapter)
        && verse.verseTo == verse.verseFrom;
    return exists ? chapter->first + verse.verseFrom - 1 : -1;
}

} // namespace bible
