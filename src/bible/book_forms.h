#pragma once

#include <QList>
#include <QString>

#include <cstdint>

namespace bible {

/// The books that `name` means: normalised words, without the number of a numbered book, which is
/// `ordinal`, or 0. Those that have it as a name or an abbreviation.
QList<std::int32_t> booksNamed(const QString &name, std::int32_t ordinal);

/// The books with a name or an abbreviation that begins with `name`. Without a number, "corintios"
/// begins both letters.
QList<std::int32_t> booksBeginning(const QString &name, std::int32_t ordinal);

/// The books with a long name that was typed with one slip, or two in a very long one:
/// "proberbios".
QList<std::int32_t> booksMisspelt(const QString &name, std::int32_t ordinal);

} // namespace bible
