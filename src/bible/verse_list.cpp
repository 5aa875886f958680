#include "bible/verse_list.h"

#include "bible/canon.h"
#include "bible/verse_symbols.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace bible {

namespace {

using Kind = Symbol::Kind;

constexpr qsizetype mostSpans = 30;

/// How a list may be taken where it has two meanings.
enum class Sense { Usual, Other };

struct Place {
    std::int32_t chapter = 0;
    std::int32_t verse = 0; ///< 0: the whole chapter
};

/// The verses of a chapter; the chapters of its book where it has none of that number.
Limit limitOf(std::int32_t book, std::int32_t chapter)
{
    const std::int32_t chapters = canonChapters(book);
    return chapter > chapters ? Limit { book, 0, chapters }
                              : Limit { book, chapter, canonVerses(book, chapter) };
}

/// Reads one list in one sense. Numbers are as typed, not held against the canon.
class ListReader {
public:
    ListReader(const QList<Symbol> &symbols, std::int32_t book, Sense sense)
        : m_symbols(symbols)
        , m_book(book)
        , m_other(sense == Sense::Other)
    {
    }

    /// Nothing when it is no list.
    std::optional<QList<Span>> read()
    {
        if (isBehindName()) {
            ++m_at;
        }
        m_begin = m_at;
        if (canonChapters(m_book) == 1 && beginsWithVerse()) {
            m_chapter = 1;
            m_verses = true;
        }
        while (readSpan()) {
            if (m_at == m_symbols.size()) {
                return m_spans;
            }
            if (m_spans.size() == mostSpans || !readSeparator()) {
                break;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] bool isDoubtful() const { return m_doubtful; }
    /// What there is where a verse 0 was typed, and no list was read for it.
    [[nodiscard]] const Limit &limit() const { return m_limit; }

private:
    [[nodiscard]] bool is(Kind kind, qsizetype ahead = 0) const
    {
        return m_at + ahead < m_symbols.size() && m_symbols.at(m_at + ahead).kind == kind;
    }
    [[nodiscard]] bool isGlued(qsizetype ahead) const { return m_symbols.at(m_at + ahead).glued; }

    /// A sign that ends the name, "Juan, 3:16"; in "Juan :16" a chapter is missing.
    [[nodiscard]] bool isBehindName() const
    {
        const bool sign = is(Kind::Colon) || is(Kind::Comma) || is(Kind::Point) || is(Kind::To);
        return sign && m_symbols.size() > 1 && (isGlued(0) || !isGlued(1))
            && (!is(Kind::Colon) || !isGlued(1));
    }

    bool take(Kind kind)
    {
        if (!is(kind)) {
            return false;
        }
        ++m_at;
        return true;
    }
    std::optional<std::int32_t> takeNumber()
    {
        return is(Kind::Number) ? std::optional(m_symbols.at(m_at++).value) : std::nullopt;
    }
    /// Whether the sense is the other one, at a place with two.
    bool takesOther()
    {
        m_doubtful = true;
        return m_other;
    }

    /// In a book of one chapter: "Judas 24", "Judas 3,5", and not "Judas 1" or "Judas 1:3".
    bool beginsWithVerse()
    {
        if (is(Kind::Verse)) {
            return true;
        }
        if (!is(Kind::Number) || m_symbols.size() == m_begin + 1) {
            return is(Kind::Number) && m_symbols.at(m_at).value != 1;
        }
        const bool divided = is(Kind::Colon, 1) || is(Kind::Point, 1) || is(Kind::Verse, 1)
            || is(Kind::Number, 1) || (is(Kind::Comma, 1) && is(Kind::Verse, 2));
        if (divided) {
            return false;
        }
        const bool first = m_symbols.at(m_at).value == 1;
        return !(first && is(Kind::Comma, 1)) || takesOther();
    }

    bool readSeparator()
    {
        m_separator = m_at < m_symbols.size() ? m_symbols.at(m_at).kind : Kind::Number;
        if (take(Kind::Comma) || take(Kind::Semicolon)) {
            take(Kind::And); // "16, 18, y 20"
            return true;
        }
        const bool pointed = m_verses && (m_division == Kind::Colon || m_division == Kind::Comma);
        return take(Kind::And) || (pointed && take(Kind::Point));
    }

    bool readSpan()
    {
        const auto from = readPlace();
        if (!from) {
            return false;
        }
        Span span { from->chapter, from->verse, from->chapter, from->verse };
        m_chapter = from->chapter;
        m_verses = from->verse != 0;
        m_rangeFrom = from->verse;
        if (m_verses) {
            take(Kind::Part); // a part of a verse is shown with the whole
        }
        if (take(Kind::To)) {
            if (!readEnd(span)) {
                return false;
            }
        } else if (m_verses && take(Kind::Next)) {
            ++span.verseTo;
        } else if (m_verses && take(Kind::NextAll)) {
            span.verseTo = std::max(span.verseFrom, canonVerses(m_book, span.chapterFrom));
        }
        m_chapter = span.chapterTo;
        m_verses = span.verseTo != 0;
        m_spans.append(span);
        return true;
    }

    /// Behind "-".
    bool readEnd(Span &span)
    {
        const bool named = is(Kind::Chapter);
        m_separator = Kind::To;
        const auto to = readPlace();
        if (!to) {
            return false;
        }
        span.chapterTo = to->chapter;
        span.verseTo = to->verse;
        if (to->verse != 0) {
            take(Kind::Part);
            span.verseFrom = std::max(span.verseFrom, 1); // "1-2:3"
        } else if (span.verseFrom != 0) {
            span.verseTo = named ? canonVerses(m_book, to->chapter) : 0; // "3:16 al capítulo 4"
            return span.verseTo != 0;
        }
        return true;
    }

    std::optional<Place> readPlace()
    {
        if (is(Kind::Chapter)) {
            m_chapters = m_symbols.at(m_at++).value > 1;
            const auto chapter = takeNumber();
            return chapter ? readVerse(*chapter) : std::nullopt;
        }
        if (take(Kind::Verse)) {
            const auto verse = takeNumber();
            return verse && m_verses ? isPlace(m_chapter, *verse) : std::nullopt;
        }
        const auto number = takeNumber();
        if (!number) {
            return std::nullopt;
        }
        return m_verses ? readAmongVerses(*number) : readVerse(*number);
    }

    /// A number of 0 is no place.
    std::optional<Place> isPlace(std::int32_t chapter, std::int32_t verse)
    {
        if (chapter > 0 && verse == 0) {
            m_limit = limitOf(m_book, chapter);
        }
        return chapter > 0 && verse > 0 ? std::optional(Place { chapter, verse }) : std::nullopt;
    }
    static std::optional<Place> wholeChapter(std::int32_t chapter)
    {
        return chapter > 0 ? std::optional(Place { chapter, 0 }) : std::nullopt;
    }

    /// Behind the chapter, from the sign or word that divides the two.
    std::optional<Place> takeVerse(std::int32_t chapter, Kind division)
    {
        m_division = division;
        take(Kind::Verse);
        const auto verse = takeNumber();
        return verse ? isPlace(chapter, *verse) : std::nullopt;
    }

    /// Where a number is a verse unless another follows it.
    std::optional<Place> readAmongVerses(std::int32_t number)
    {
        const bool commas = m_division == Kind::Comma && is(Kind::Comma) && is(Kind::Number, 1);
        const bool european = commas && beginsAnotherChapter(number);
        const bool pointed = m_division == Kind::Point && is(Kind::Point);
        if (european || pointed) {
            const Kind kind = m_division;
            ++m_at;
            return takeVerse(number, kind);
        }
        if (take(Kind::Colon)) {
            return takeVerse(number, Kind::Colon);
        }
        if (is(Kind::Verse)) {
            return takeVerse(number, m_division);
        }
        if (m_separator == Kind::Semicolon && canonChapters(m_book) > 1 && takesOther()) {
            return wholeChapter(number);
        }
        return isPlace(m_chapter, number);
    }

    /// In "3,16-4,2", "3,16 y 4,2" and "3,16; 4,2" the number before the comma is a chapter. In
    /// "26,14-27,66" it may be a verse of the same chapter, too.
    bool beginsAnotherChapter(std::int32_t number)
    {
        if (m_separator != Kind::To && m_separator != Kind::And) {
            return m_separator == Kind::Semicolon;
        }
        return number > m_chapter && (number <= m_rangeFrom || takesOther());
    }

    /// Behind a chapter: its verse, if it has one.
    std::optional<Place> readVerse(std::int32_t chapter)
    {
        if (take(Kind::Colon)) {
            return takeVerse(chapter, Kind::Colon);
        }
        if (take(Kind::Point)) {
            return takeVerse(chapter, Kind::Point);
        }
        if (is(Kind::Verse)) {
            return takeVerse(chapter, Kind::Colon);
        }
        if ((is(Kind::Comma) || is(Kind::And)) && is(Kind::Verse, 1)) {
            ++m_at;
            return takeVerse(chapter, Kind::Colon);
        }
        if (is(Kind::Number)) {
            return takeVerse(chapter, Kind::Number);
        }
        return readUnclear(chapter);
    }

    /// Behind a chapter, where a comma or a semicolon may divide it from its verse or from another
    /// chapter.
    std::optional<Place> readUnclear(std::int32_t chapter)
    {
        const bool first = m_spans.isEmpty() && m_separator == Kind::Number;
        const bool numbered = is(Kind::Number, 1);
        if (is(Kind::Comma) && numbered) {
            if (m_separator == Kind::Semicolon || m_separator == Kind::And) {
                return std::nullopt;
            }
            if (first && !m_chapters && !(isListOfNumbers() && takesOther())) {
                ++m_at;
                return takeVerse(chapter, Kind::Comma);
            }
        }
        const bool slip = first && is(Kind::Semicolon) && numbered && isGlued(0) && isGlued(1)
            && !is(Kind::Colon, 2);
        if (slip && takesOther()) {
            ++m_at;
            return takeVerse(chapter, Kind::Colon);
        }
        return wholeChapter(chapter);
    }

    /// "3, 4 y 5": verses 4 and 5 of a chapter, or three chapters.
    [[nodiscard]] bool isListOfNumbers() const
    {
        if (isGlued(1) || m_at + 2 == m_symbols.size()) {
            return false;
        }
        for (qsizetype at = m_at; at < m_symbols.size(); at += 2) {
            const Kind kind = m_symbols.at(at).kind;
            if ((kind != Kind::Comma && kind != Kind::And) || at + 1 == m_symbols.size()
                || m_symbols.at(at + 1).kind != Kind::Number) {
                return false;
            }
        }
        return true;
    }

    const QList<Symbol> &m_symbols;
    std::int32_t m_book;
    bool m_other;
    bool m_doubtful = false;
    Limit m_limit;
    qsizetype m_at = 0;
    qsizetype m_begin = 0;
    QList<Span> m_spans;
    std::int32_t m_chapter = 0; ///< of the verse before
    std::int32_t m_rangeFrom = 0; ///< the verse before "-"
    bool m_verses = false; ///< a verse stands before
    bool m_chapters = false; ///< several were named so
    Kind m_separator = Kind::Number; ///< before this place; Number: it is the first
    Kind m_division = Kind::Number; ///< between the last chapter and its verse; Number: a blank
};

bool isBehind(const Span &span, const Span &before)
{
    return std::pair(span.chapterFrom, span.verseFrom)
        > std::pair(before.chapterTo, before.verseTo);
}

bool isOrdered(const QList<Span> &spans)
{
    for (qsizetype i = 0; i < spans.size(); ++i) {
        const Span &span = spans.at(i);
        const bool reversed
            = std::pair(span.chapterFrom, span.verseFrom) > std::pair(span.chapterTo, span.verseTo);
        if (reversed || (i > 0 && !isBehind(span, spans.at(i - 1)))) {
            return false;
        }
    }
    return true;
}

/// What a span asks for beyond the canon.
std::optional<Limit> beyond(std::int32_t book, const Span &span)
{
    const std::pair<std::int32_t, std::int32_t> ends[] { { span.chapterFrom, span.verseFrom },
        { span.chapterTo, span.verseTo } };
    for (const auto &[chapter, verse] : ends) {
        if (chapter > canonChapters(book) || verse > canonVerses(book, chapter)) {
            return limitOf(book, chapter);
        }
    }
    return std::nullopt;
}

/// Whole chapters beside verses become verses.
void levelOut(Passage &passage)
{
    const bool whole = std::all_of(passage.spans.begin(),
        passage.spans.end(),
        [](const Span &each) { return each.isWhole(); });
    for (Span &span : passage.spans) {
        if (!whole && span.isWhole()) {
            span.verseFrom = 1;
            span.verseTo = canonVerses(passage.book, span.chapterTo);
        }
    }
}

/// Within two chapters, or some whole ones in a row: what one types without a slip.
bool isNear(const Passage &passage)
{
    std::int32_t before = passage.spans.first().chapterFrom;
    return std::all_of(passage.spans.begin(), passage.spans.end(), [&](const Span &span) {
        const bool follows
            = span.chapterFrom - before <= 1 && span.chapterTo - span.chapterFrom <= 1;
        before = span.chapterTo;
        return follows && (span.isWhole() || passage.spans.size() == 1);
    });
}

ListRead readInSense(const QList<Symbol> &symbols, std::int32_t book, Sense sense)
{
    ListReader reader(symbols, book, sense);
    const auto spans = reader.read();
    ListRead result { {}, reader.isDoubtful(), {} };
    if (!spans) {
        result.limit = reader.limit();
        return result;
    }
    for (const Span &span : *spans) {
        if (const auto limit = beyond(book, span)) {
            result.limit = *limit;
            return result;
        }
    }
    Passage passage { book, *spans };
    levelOut(passage);
    if (isOrdered(passage.spans)) {
        result.passages.append(passage);
    }
    return result;
}

} // namespace

ListRead readList(const QList<Token> &tokens, qsizetype begin, std::int32_t book)
{
    const auto list = symbols(tokens, begin);
    if (!list) {
        return {};
    }
    ListRead usual = readInSense(*list, book, Sense::Usual);
    if (!usual.doubtful) {
        return usual;
    }
    // Where one sense leads beyond the canon, the other is meant, unless that takes far too much.
    const ListRead other = readInSense(*list, book, Sense::Other);
    const Limit limit = usual.limit.book >= 0 ? usual.limit : other.limit;
    return { usual.passages + other.passages,
        !other.passages.isEmpty() && !(usual.passages.isEmpty() && isNear(other.passages.first())),
        limit };
}

} // namespace bible
