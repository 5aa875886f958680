#include "bible/passage.h"

#include "bible/books.h"
#include "bible/canon.h"

#include <QStringList>

namespace bible {

namespace {

/// "3:16", or "3" for a whole chapter.
QString place(std::int32_t chapter, std::int32_t verse)
{
    const QString number = QString::number(chapter);
    return verse == 0 ? number : number + QLatin1Char(':') + QString::number(verse);
}

/// "16-18", "3-4", "16-4:2": what follows the first place of a span.
QString rest(const Span &span)
{
    if (span.chapterTo != span.chapterFrom) {
        return QLatin1Char('-') + place(span.chapterTo, span.verseTo);
    }
    return span.verseTo > span.verseFrom ? QLatin1Char('-') + QString::number(span.verseTo)
                                         : QString();
}

/// Every verse of a passage in turn.
template <typename Visit> void forEachVerse(const Passage &passage, Visit visit)
{
    for (const Span &span : passage.spans) {
        for (std::int32_t chapter = span.chapterFrom; chapter <= span.chapterTo; ++chapter) {
            const bool first = chapter == span.chapterFrom && !span.isWhole();
            const bool last = chapter == span.chapterTo && !span.isWhole();
            const std::int32_t end = last ? span.verseTo : canonVerses(passage.book, chapter);
            for (std::int32_t verse = first ? span.verseFrom : 1; verse <= end; ++verse) {
                visit(chapter, verse);
            }
        }
    }
}

} // namespace

QString bookName(std::int32_t book, const QString &lang)
{
    return label(Ref { book, 0, 0, 0 }, lang).chopped(book < 0 ? 0 : 2);
}

QString label(const Passage &passage, const QString &lang)
{
    if (passage.spans.isEmpty()) {
        return {};
    }
    const Span &first = passage.spans.first();
    QString text = label(Ref { passage.book, first.chapterFrom, first.verseFrom, 0 }, lang);
    if (text.isEmpty()) {
        return {};
    }
    text += rest(first);
    std::int32_t chapter = first.chapterTo;
    for (const Span &span : passage.spans.sliced(1)) {
        const bool goesOn = !span.isWhole() && span.chapterFrom == chapter;
        text += goesOn ? QLatin1Char(',') + QString::number(span.verseFrom)
                       : QStringLiteral("; ") + place(span.chapterFrom, span.verseFrom);
        text += rest(span);
        chapter = span.chapterTo;
    }
    return text;
}

namespace {

QString textOf(const Bible &bible, const Passage &passage, bool withEmpty)
{
    std::int32_t count = 0;
    forEachVerse(passage, [&count](std::int32_t, std::int32_t) { ++count; });
    QStringList pieces;
    bool found = false;
    std::int32_t chapterBefore = 0;
    forEachVerse(passage, [&](std::int32_t chapter, std::int32_t verse) {
        const QString text = verseText(bible, { passage.book, chapter, verse, verse });
        found = found || !text.isEmpty();
        if (text.isEmpty() && !withEmpty) {
            return;
        }
        const bool turns = chapterBefore != 0 && chapter != chapterBefore;
        chapterBefore = chapter;
        const QString number = turns ? place(chapter, verse) : QString::number(verse);
        pieces << (count > 1 ? number + QLatin1Char(' ') + text : text);
    });
    return found ? pieces.join(QLatin1Char(' ')) : QString();
}

} // namespace

QString passageText(const Bible &bible, const Passage &passage)
{
    return textOf(bible, passage, true);
}

QString presentText(const Bible &bible, const Passage &passage)
{
    return textOf(bible, passage, false);
}

Passage missingFrom(const Bible &bible, const Passage &passage)
{
    Passage missing { passage.book, {} };
    bool hasSome = false;
    forEachVerse(passage, [&](std::int32_t chapter, std::int32_t verse) {
        if (!verseText(bible, { passage.book, chapter, verse, verse }).isEmpty()) {
            hasSome = true;
            return;
        }
        const bool goesOn = !missing.spans.isEmpty() && missing.spans.last().chapterTo == chapter
            && missing.spans.last().verseTo == verse - 1;
        if (goesOn) {
            missing.spans.last().verseTo = verse;
        } else {
            missing.spans.append({ chapter, verse, chapter, verse });
        }
    });
    return hasSome ? missing : passage;
}

} // namespace bible
