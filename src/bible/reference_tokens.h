#pragma once

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace bible {

/// A piece of a typed reference.
struct Token {
    enum class Kind { Number, Word, Sign };
    Kind kind = Kind::Sign;
    QString text; ///< a word has the letters a to z alone, a sign is one of `: . , ; - & ª`
    std::int32_t value = 0; ///< of a number
    bool glued = false; ///< no blank stands before it

    [[nodiscard]] bool isNumber() const { return kind == Kind::Number; }
    [[nodiscard]] bool isWord() const { return kind == Kind::Word; }
    [[nodiscard]] bool isSign(char sign) const
    {
        return kind == Kind::Sign && text.at(0) == QLatin1Char(sign);
    }
    /// "ª", and what is typed in its place.
    [[nodiscard]] bool isOrdinalSign() const
    {
        return kind == Kind::Sign && text.at(0) == QChar(0xaa);
    }
};

/// The normalised text of what was typed: signs of other alphabets and dashes of every length as
/// the plain ones, without quotation marks, brackets and full stops around it.
QString plainReference(const QString &typed);

/// Cuts a plain text into pieces; nothing when a sign in it has no meaning in a reference, or a
/// number is beyond any book.
std::optional<QList<Token>> tokens(const QString &plain);

} // namespace bible
