#pragma once

#include "bible/reference_tokens.h"

#include <QList>

#include <cstdint>

namespace bible {

/// The book at the beginning of a reference.
struct BookRead {
    QList<std::int32_t>
        books; ///< in canonical order; several: the name may mean each; none: no name
    qsizetype end = 0; ///< the first token behind the name
};

/// Reads "1ª a los Corintios", "Evangelio según San Juan", "II Sam.", "Song of Songs". A name or an
/// abbreviation in use finds its book; any other beginning of a name finds each book that begins
/// with it.
BookRead readBook(const QList<Token> &tokens);

/// Words that stand before the numbers of chapters and verses.
bool isChapterWord(const QString &word);
bool isVerseWord(const QString &word);
/// Articles and prepositions between them.
bool isFiller(const QString &word);

} // namespace bible
