#include "bible/quoted_verse.h"

#include "bible/word_alignment.h"

#include <algorithm>

namespace bible {

namespace {

/// Nobody says so many words of a verse by chance.
constexpr qsizetype surelyQuoted = 8;
/// Fewer are a quotation where they are nearly the whole verse.
constexpr qsizetype fewestWords = 5;
/// Short words stand everywhere.
constexpr qsizetype tellingLetters = 4;
constexpr qsizetype fewestTelling = 3;

/// How much of a verse was said.
struct Quoted {
    qsizetype words = 0; ///< that are the same
    bool isQuotation = false;
};

Quoted quotedOf(const QStringList &spoken, const QStringList &verse)
{
    const std::vector<SameWord> same = sameWords(spoken, verse);
    const auto count = static_cast<qsizetype>(same.size());
    if (count < fewestWords) {
        return {};
    }
    const auto telling = std::count_if(same.begin(), same.end(), [&](const SameWord &word) {
        return spoken.at(word.inOne).size() >= tellingLetters;
    });
    const qsizetype said = same.back().inOne - same.front().inOne + 1;
    const qsizetype written = same.back().inOther - same.front().inOther + 1;
    const bool isAlike = count * 10 >= std::max(said, written) * 7;
    const bool isWhole = count * 10 >= verse.size() * 7;
    return { count, telling >= fewestTelling && isAlike && (isWhole || count >= surelyQuoted) };
}

} // namespace

std::optional<Ref> verseQuoted(const QString &said, const QList<FoundVerse> &found)
{
    const QStringList spoken = searchWords(said);
    std::optional<Ref> best;
    Quoted quoted;
    bool isAmbiguous = false;
    for (const FoundVerse &each : found) {
        const BiblePtr bible = bibleWithId(each.bible);
        if (bible == nullptr) {
            continue; // it was removed
        }
        const Quoted here = quotedOf(spoken, searchWords(verseText(*bible, each.verse)));
        if (here.words > quoted.words) {
            best = each.verse;
            quoted = here;
            isAmbiguous = false;
        } else if (here.words == quoted.words && best != each.verse) {
            isAmbiguous = true;
        }
    }
    const bool isSure = quoted.words >= surelyQuoted || !isAmbiguous;
    return quoted.isQuotation && isSure ? best : std::nullopt;
}

} // namespace bible
