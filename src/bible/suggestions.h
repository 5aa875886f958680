#pragma once

#include "bible/builtin.h"
#include "bible/verse_index.h"

#include <QList>
#include <QString>

namespace bible {

/// One line below a field that takes a reference.
struct Suggestion {
    QString reference; ///< "Juan 3:16", or the book alone, "Juan", to be gone on with
    QString words; ///< the first words of its text; empty for a book alone

    [[nodiscard]] bool isWhole() const { return !words.isEmpty(); }
    bool operator==(const Suggestion &) const = default;
};

/// What a reference that is being typed may become: books for "ju", chapters for "juan", the
/// chapter and its verses for "juan 3", verses for "juan 3:1". At most so many; none where the text
/// is no beginning of a reference. Labelled in the Bible's language.
QList<Suggestion> completions(const QString &typed, const Bible &bible, qsizetype most);

/// The suggestion for a verse that was found by its words, in its own Bible.
Suggestion suggestionOf(const FoundVerse &found);

/// The text may be words of a verse: no reference is written in so many letters and no number.
bool mayBeWords(const QString &typed);

} // namespace bible
