#pragma once

#include <QList>
#include <QString>

#include <cstdint>

/// What is said, in pieces. Pure.
namespace bible::spoken {

enum class Language { Spanish, English };

/// A piece of a transcript.
struct Word {
    QString text; ///< normalised, without signs; empty for a sign
    QChar sign; ///< one of `. , : ; ! ? -`, or none
    std::int32_t value = -1; ///< written in digits
    bool capital = false; ///< begins with a capital letter
    qsizetype from = 0; ///< where it stands in the transcript
    qsizetype to = 0;

    [[nodiscard]] bool isSign(char each) const { return sign == QLatin1Char(each); }
};
using Words = QList<Word>;

Words wordsOf(const QString &transcript);

/// A number that may be meant, and the first word behind it.
struct Number {
    std::int32_t value = 0;
    qsizetype end = 0;
};

/// The numbers that may be meant at `at`, the likeliest first: "forty one" is 41 before it is 40,
/// "one nineteen" is 1 (with 19 behind it) before it is 119. Up to 199, in words or digits; of an
/// ordinal number too when `ordinals`. None when there is no number.
QList<Number> numbersAt(const Words &words, qsizetype at, Language language, bool ordinals = false);

/// The number of a numbered book, as it is said before the name: "primera", "first", "2ª", "II". 0
/// when there is none.
std::int32_t bookOrdinal(const Word &word, Language language);

} // namespace bible::spoken
