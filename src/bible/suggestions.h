#pragma once

#include "bible/builtin.h"
#include "bible/verse_index.h"

#include <QList>
#include <QString>

namespace bible {

/// One line below a field that takes a reference.
struct Suggestion {
    QString reference; ///< "Juan 3:16", "Juan 3:16 KJV", or a book alone, "Juan"
    QString words; ///< the first words of its text, if it has any
    bool isBook = false; ///< a book alone, to be gone on with
    bool operator==(const Suggestion &) const = default;
};

/// What a reference that is being typed may become: books for "ju", chapters for "juan", the
/// chapter and its verses for "juan 3", verses for "juan 3:1". At most so many; none where the text
/// is no beginning of a reference. Labelled in the Bible's language.
QList<Suggestion> completions(const QString &typed, const Bible &bible, qsizetype most);

/// The suggestion for a verse that was found by its words, in its own Bible. Names that Bible where
/// it is not `first`, from which a reference alone would be shown. Empty when it has gone.
Suggestion suggestionOf(const FoundVerse &found, const BiblePtr &first);

/// The text may be words of a verse: no reference is written in so many letters and no number.
bool mayBeWords(const QString &typed);

} // namespace bible
