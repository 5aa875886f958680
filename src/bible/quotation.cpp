#include "bible/quotation.h"

#include "bible/next_verse.h"
#include "bible/verse_index.h"
#include "bible/word_alignment.h"

#include <algorithm>
#include <map>
#include <vector>

namespace bible {

namespace {

/// How far behind the passage a reader is followed.
constexpr qsizetype versesBehind = 10;
/// No whole book is held against every phrase.
constexpr qsizetype mostVerses = 60;
constexpr std::ptrdiff_t fewestWords = 4;
constexpr std::ptrdiff_t wordsOfVerse = 3;

Passage verseOf(std::int32_t book, std::int32_t chapter, std::int32_t verse)
{
    return { book, { { chapter, verse, chapter, verse } } };
}

/// The verses of the passage and those behind it, each alone.
QList<Passage> versesFrom(const Bible &bible, const Passage &passage)
{
    QList<Passage> verses;
    for (const Span &span : passage.spans) {
        const auto isWithin = [&span](const Span &at) {
            return at.chapterFrom < span.chapterTo
                || (at.chapterFrom == span.chapterTo
                    && (span.isWhole() || at.verseFrom <= span.verseTo));
        };
        std::optional<Passage> verse
            = verseOf(passage.book, span.chapterFrom, std::max(span.verseFrom, 1));
        for (qsizetype behind = 0; verse && verses.size() < mostVerses;) {
            const Span &at = verse->spans.first();
            behind += isWithin(at) ? 0 : 1;
            if (verse->book != passage.book || at.chapterFrom > span.chapterTo
                || behind > versesBehind) {
                break;
            }
            if (!verses.contains(*verse)) {
                verses.append(*verse);
            }
            verse = verseAfter(bible, *verse);
        }
    }
    return verses;
}

} // namespace

WrittenVerses writtenVerses(const Bible &bible, const Passage &announced)
{
    WrittenVerses written { versesFrom(bible, announced), {}, {} };
    for (qsizetype verse = 0; verse < written.verses.size(); ++verse) {
        const QStringList words = searchWords(passageText(bible, written.verses.at(verse)));
        written.words += words;
        written.verseOfWord.insert(written.verseOfWord.size(), words.size(), verse);
    }
    return written;
}

QList<Passage> versesRead(const QString &said, const WrittenVerses &announced)
{
    const QStringList spoken = searchWords(said);
    if (spoken.size() < fewestWords) {
        return {};
    }
    const std::vector<SameWord> same = sameWords(spoken, announced.words);
    const auto count = static_cast<qsizetype>(same.size());
    // Six words in ten: before the reading there may be the reference.
    if (count < fewestWords || count * 10 < spoken.size() * 6) {
        return {};
    }
    std::map<qsizetype, qsizetype> words; // of each verse
    for (const SameWord &word : same) {
        ++words[announced.verseOfWord.at(word.inOther)];
    }
    QList<Passage> read;
    for (const auto &[verse, number] : words) {
        if (number >= wordsOfVerse) {
            read.append(announced.verses.at(verse));
        }
    }
    return read;
}

} // namespace bible
