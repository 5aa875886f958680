#pragma once

#include "bible/passage.h"
#include "bible/verse_list.h"

#include <QList>
#include <QString>

namespace bible {

/// What an operator may have meant.
struct Reading {
    enum class Status {
        Unknown, ///< no reference
        Found, ///< `passages` has the one that was meant
        Doubtful, ///< `passages` has those that may be meant
        Absent ///< a reference to what no Bible has; `limit` is what there is
    };
    Status status = Status::Unknown;
    QList<Passage> passages;
    Limit limit;
    QString bible; ///< the Bible named at the end, see `takeBible`; empty when none was
};

/// Reads a reference as churches type it, in Spanish or English: "Jn. 3:16", "1ª a los Corintios
/// 13, 4-7", "Juan capítulo 3 versículo 16", "Génesis 1:1-2:3", "Song of Songs 2:4 KJV", "Judas
/// 24". Nothing is guessed: what may mean two passages is `Doubtful`, and what is not wholly
/// understood `Unknown`. Passages are within the canon. Callable from any thread.
Reading read(const QString &typed);

} // namespace bible
