#pragma once

#include <QList>
#include <QString>

namespace nimbara {

/// A name or an expression of the congregation, and how it is said in the other language.
struct Term {
    QString said; ///< "Santa Cena"
    QString shown; ///< "the Lord's Supper"; empty: as it is said
    QString language {}; ///< of `shown`, by its English name; empty: of every language

    bool operator==(const Term &) const = default;
};

using Terms = QList<Term>;

} // namespace nimbara
