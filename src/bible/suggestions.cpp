#include "bible/suggestions.h"

#include "bible/book_names.h"
#include "bible/canon.h"
#include "bible/passage.h"
#include "bible/reader.h"
#include "bible/reference_tokens.h"
#include "bible/shelf.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace bible {

namespace {

constexpr qsizetype wordsShown = 60; ///< characters

QString firstWords(const QString &text)
{
    if (text.size() <= wordsShown) {
        return text;
    }
    const qsizetype blank = text.lastIndexOf(QLatin1Char(' '), wordsShown);
    return text.left(blank > 0 ? blank : wordsShown) + QChar(0x2026);
}

QString withBible(const QString &reference, const QString &bible)
{
    return bible.isEmpty() ? reference : reference + QLatin1Char(' ') + bible;
}

/// Collects suggestions of one Bible, as many as there is room for.
class Collection {
public:
    Collection(const Bible &bible, qsizetype most)
        : m_bible(bible)
        , m_most(most)
    {
    }

    void addBook(std::int32_t book) { add({ bookName(book, m_bible.lang), {}, true }); }
    /// `verse` 0: the whole chapter.
    void addPlace(std::int32_t book, std::int32_t chapter, std::int32_t verse)
    {
        const std::int32_t first = std::max(verse, 1);
        const QString text = verseText(m_bible, { book, chapter, first, first });
        if (!text.isEmpty()) {
            const Ref place { book, chapter, verse, verse };
            add({ label(place, m_bible.lang), firstWords(text), false });
        }
    }
    /// `named`: the Bible that stands behind the reference, as typed; or empty.
    void addPassage(const Passage &passage, const QString &named)
    {
        const Span &first = passage.spans.first();
        const std::int32_t verse = std::max(first.verseFrom, 1);
        const Ref begin { passage.book, first.chapterFrom, verse, verse };
        // Of one that may be online, the other Bible's words tell the verse.
        const BiblePtr bible = bibleWithId(named);
        const QString text = verseText(bible != nullptr ? *bible : m_bible, begin);
        add({ withBible(label(passage, m_bible.lang), named), firstWords(text), false });
    }
    [[nodiscard]] bool isFull() const { return m_list.size() >= m_most; }
    [[nodiscard]] QList<Suggestion> list() const { return m_list; }

private:
    void add(const Suggestion &suggestion)
    {
        if (!isFull() && !m_list.contains(suggestion)) {
            m_list << suggestion;
        }
    }

    const Bible &m_bible;
    qsizetype m_most;
    QList<Suggestion> m_list;
};

/// Chapter and verse behind a book, as far as they are typed.
struct Begun {
    std::int32_t chapter = 0; ///< 0: none yet
    std::int32_t verse = 0;
    bool isChapterDone = false; ///< something stands behind it
};

/// None for anything but "3", "3:", "3:1", "3.1", "3 1".
std::optional<Begun> begun(const QList<Token> &tokens, qsizetype at, bool isNumberDone)
{
    Begun begun;
    if (at == tokens.size()) {
        return begun;
    }
    if (!tokens.at(at).isNumber()) {
        return std::nullopt;
    }
    begun.chapter = tokens.at(at++).value;
    begun.isChapterDone = at < tokens.size() || isNumberDone;
    if (at < tokens.size()
        && (tokens.at(at).isSign(':') || tokens.at(at).isSign('.') || tokens.at(at).isSign(','))) {
        ++at;
    }
    if (at < tokens.size() && tokens.at(at).isNumber()) {
        begun.verse = tokens.at(at++).value;
    }
    return at == tokens.size() ? std::optional(begun) : std::nullopt;
}

/// Whether the digits of a number begin with those of the other.
bool beginsWith(std::int32_t number, std::int32_t digits)
{
    while (number > digits) {
        number /= 10;
    }
    return number == digits;
}

/// "Judas 2": its verses 2 and 20 to 25; "Judas 1" is the chapter, too.
void addFromOnlyChapter(Collection &all, std::int32_t book, std::int32_t digits)
{
    if (digits == 1) {
        all.addPlace(book, 1, 0);
    }
    for (std::int32_t verse = 1; verse <= canonVerses(book, 1) && !all.isFull(); ++verse) {
        if (beginsWith(verse, digits)) {
            all.addPlace(book, 1, verse);
        }
    }
}

void addFrom(Collection &all, std::int32_t book, const Begun &begun)
{
    if (begun.chapter == 0) {
        for (std::int32_t chapter = 1; chapter <= canonChapters(book) && !all.isFull(); ++chapter) {
            all.addPlace(book, chapter, 0);
        }
        return;
    }
    if (canonChapters(book) == 1 && begun.verse == 0) {
        addFromOnlyChapter(all, book, begun.chapter);
        return;
    }
    const std::int32_t last = canonVerses(book, begun.chapter);
    if (begun.verse == 0) {
        all.addPlace(book, begun.chapter, 0);
    }
    for (std::int32_t verse = 1; verse <= last && !all.isFull(); ++verse) {
        if (begun.verse == 0 || beginsWith(verse, begun.verse)) {
            all.addPlace(book, begun.chapter, verse);
        }
    }
    for (std::int32_t chapter = begun.chapter + 1;
         !begun.isChapterDone && chapter <= canonChapters(book) && !all.isFull();
         ++chapter) {
        if (beginsWith(chapter, begun.chapter)) {
            all.addPlace(book, chapter, 0);
        }
    }
}

} // namespace

QList<Suggestion> completions(const QString &typed, const Bible &bible, qsizetype most)
{
    Collection all(bible, most);
    const auto pieces = tokens(plainReference(typed));
    if (!bible.valid || !pieces || pieces->isEmpty()) {
        return {};
    }
    const BookRead name = readBook(*pieces);
    const auto rest = begun(*pieces, name.end, !typed.back().isDigit());
    if (!name.books.isEmpty() && rest) {
        for (const std::int32_t book : name.books) {
            if (rest->chapter == 0 && name.books.size() > 1) {
                all.addBook(book);
            } else {
                addFrom(all, book, *rest);
            }
        }
        return all.list();
    }
    const Reading reading = read(typed);
    for (const Passage &passage : reading.passages) {
        all.addPassage(passage, reading.bible);
    }
    return all.list();
}

Suggestion suggestionOf(const FoundVerse &found, const BiblePtr &first)
{
    const BiblePtr bible = bibleWithId(found.bible);
    if (bible == nullptr) {
        return {};
    }
    const bool isFirst = first != nullptr && first->id == bible->id;
    return { withBible(label(found.verse, bible->lang), isFirst ? QString() : bible->id),
        firstWords(verseText(*bible, found.verse)),
        false };
}

bool mayBeWords(const QString &typed)
{
    const auto isDigit = [](QChar sign) { return sign.isDigit(); };
    return std::none_of(typed.begin(), typed.end(), isDigit)
        && std::count_if(typed.begin(), typed.end(), [](QChar c) { return c.isLetter(); }) >= 3;
}

} // namespace bible
