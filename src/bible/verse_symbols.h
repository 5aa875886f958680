#pragma once

#include "bible/reference_tokens.h"

#include <QList>

#include <cstdint>
#include <optional>

namespace bible {

/// A piece of a list of chapters and verses, whatever it was typed as.
struct Symbol {
    enum class Kind {
        Number,
        Colon,
        Point,
        Comma,
        Semicolon,
        And, ///< "y", "&"
        To, ///< "-", "al"
        Chapter, ///< "capítulo", "cap."; of several, "capítulos", the value is 2
        Verse, ///< "versículo", "v."
        Part, ///< the "a" of "16a"
        Next, ///< the "s" of "16s": and the following verse
        NextAll ///< the "ss" of "16ss": and the following verses
    };
    Kind kind = Kind::Number;
    std::int32_t value = 0; ///< of a number; see Chapter
    bool glued = false; ///< no blank stands before it
};

/// The tokens from `begin` on; nothing when a word has no meaning in a list.
std::optional<QList<Symbol>> symbols(const QList<Token> &tokens, qsizetype begin);

} // namespace bible
