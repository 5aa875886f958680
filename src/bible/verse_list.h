#pragma once

#include "bible/passage.h"
#include "bible/reference_tokens.h"

#include <QList>

#include <cstdint>

namespace bible {

/// What there is, where more was asked for.
struct Limit {
    std::int32_t book = -1; ///< -1: nothing can be told
    std::int32_t chapter = 0; ///< whose verses are counted; 0: the book's chapters are
    std::int32_t count = 0;

    bool operator==(const Limit &) const = default;
};

/// The numbers behind a book's name.
struct ListRead {
    QList<Passage> passages; ///< what they mean and the canon holds
    bool doubtful = false; ///< they may mean another thing, too, be it in the canon or not
    Limit limit; ///< of what is beyond the canon, when there is no passage
};

/// Reads "capítulo 3 versículo 16", "3:16,18-20; 4:2", "3 del 16 al 18", "16ss" from `begin` on.
/// Places that do not follow each other, and what is no list of places, give nothing.
ListRead readList(const QList<Token> &tokens, qsizetype begin, std::int32_t book);

} // namespace bible
