#include "bible/next_verse.h"

#include "bible/canon.h"

namespace bible {

namespace {

struct Place {
    std::int32_t book = 0;
    std::int32_t chapter = 0;
    std::int32_t verse = 0;
};

std::optional<Place> after(Place place)
{
    if (++place.verse <= canonVerses(place.book, place.chapter)) {
        return place;
    }
    place.verse = 1;
    if (++place.chapter <= canonChapters(place.book)) {
        return place;
    }
    place.chapter = 1;
    return canonChapters(++place.book) > 0 ? std::optional(place) : std::nullopt;
}

std::optional<Place> before(Place place)
{
    if (--place.verse >= 1) {
        return place;
    }
    if (--place.chapter < 1) {
        place.chapter = canonChapters(--place.book);
    }
    place.verse = canonVerses(place.book, place.chapter);
    return place.verse > 0 ? std::optional(place) : std::nullopt;
}

template <typename Step>
std::optional<Passage> firstText(const Bible &bible, std::optional<Place> place, Step step)
{
    for (place = step(*place); place; place = step(*place)) {
        const auto [book, chapter, verse] = *place;
        if (!verseText(bible, { book, chapter, verse, verse }).isEmpty()) {
            return Passage { book, { { chapter, verse, chapter, verse } } };
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Passage> verseAfter(const Bible &bible, const Passage &passage)
{
    if (passage.spans.isEmpty()) {
        return std::nullopt;
    }
    const Span &last = passage.spans.last();
    const std::int32_t verse
        = last.isWhole() ? canonVerses(passage.book, last.chapterTo) : last.verseTo;
    return firstText(bible, Place { passage.book, last.chapterTo, verse }, after);
}

std::optional<Passage> verseBefore(const Bible &bible, const Passage &passage)
{
    if (passage.spans.isEmpty()) {
        return std::nullopt;
    }
    const Span &first = passage.spans.first();
    const std::int32_t verse = first.isWhole() ? 1 : first.verseFrom;
    return firstText(bible, Place { passage.book, first.chapterFrom, verse }, before);
}

} // namespace bible
