#pragma once

#include "compositor/text/page_split.h"
#include "compositor/text/verse_marks.h"

#include <QString>

#include <vector>

namespace nimbara {

/// A text as it is paired: its words, and its verses as `verseMarks` finds them.
struct PairedText {
    std::vector<PageWord> words;
    std::vector<VerseMark> marks;
};

PairedText pairedText(const QString &text, const QString &label);

/// The smallest part of two texts that say the same which a page holds whole: words of both, in
/// order. One of the two may be empty.
struct PagePair {
    PageRange first;
    PageRange second;
    PageEnd before = PageEnd::Verse; ///< the worse of what the two texts pause with before it
    bool beginsVerse = false;

    bool operator==(const PagePair &) const = default;
};

/// Pairs two texts of one passage: verse by verse, and within a verse where both pause alike at
/// about the same place. A verse that one of them lacks stands alone. Every word of both is in one
/// pair.
std::vector<PagePair> pairWords(const PairedText &first, const PairedText &second);

/// The pairs as words of one text, as long as both together: what `splitPages` splits.
std::vector<PageWord>
wordsOf(const std::vector<PagePair> &pairs, const PairedText &first, const PairedText &second);

} // namespace nimbara
