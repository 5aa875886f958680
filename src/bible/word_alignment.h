#pragma once

#include <QStringList>

#include <vector>

namespace bible {

/// A word that stands in both rows.
struct SameWord {
    qsizetype inOne = 0; ///< its place
    qsizetype inOther = 0;
};

/// The words that are the same, in their order, when the rows are laid beside each other in the
/// best way, of some words of each: a same word is worth as much as another one, left out or put
/// in, costs (a local alignment after Smith and Waterman).
std::vector<SameWord> sameWords(const QStringList &one, const QStringList &other);

} // namespace bible
