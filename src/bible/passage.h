#pragma once

#include "bible/builtin.h"
#include "bible/reference.h"

#include <QList>
#include <QString>

#include <cstdint>

namespace bible {

/// Verses that follow each other, over one chapter or several.
struct Span {
    std::int32_t chapterFrom = 0; ///< from 1
    std::int32_t verseFrom = 0; ///< from 1; 0: whole chapters, and then `verseTo` is 0, too
    std::int32_t chapterTo = 0; ///< not before `chapterFrom`
    std::int32_t verseTo = 0; ///< the last verse, in `chapterTo`

    [[nodiscard]] bool isWhole() const { return verseFrom == 0; }

    bool operator==(const Span &) const = default;
};

/// What is shown at once: spans of one book, each behind the one before it. Whole chapters and
/// verses do not stand in one passage: there, whole chapters are spans from their first verse to
/// their last.
struct Passage {
    std::int32_t book = -1; ///< index into `books`
    QList<Span> spans;

    bool operator==(const Passage &) const = default;
};

/// A book's name. Exactly "es" gives the Spanish one. Empty when the book is not in the table.
QString bookName(std::int32_t book, const QString &lang);

/// The display label: "Juan 3:16", "Juan 3:16-4:2", "Juan 3:16,18; 4:2", "Salmos 23; 24". A passage
/// that a `Ref` can say is labelled as that one. `read` reads it back, in either language. Exactly
/// "es" gives the Spanish book names. Empty when the book is not in the table.
QString label(const Passage &passage, const QString &lang);

/// The text: one verse alone, or several joined by blanks, each behind its number; the first verse
/// of every further chapter is numbered "4:1". Empty when the Bible has none of it.
QString passageText(const Bible &bible, const Passage &passage);

/// The same without the numbers of verses that the Bible leaves empty.
QString presentText(const Bible &bible, const Passage &passage);

/// The verses of the passage that the Bible leaves empty; without spans when it has all of them.
Passage missingFrom(const Bible &bible, const Passage &passage);

} // namespace bible
