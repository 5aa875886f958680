#pragma once

#include <QList>
#include <QString>

/// The words of a text, for finding terms in it whatever their case, accents and apostrophes. Pure.
namespace nimbara::term_words {

struct Word {
    qsizetype from = 0; ///< where it stands in the text
    qsizetype to = 0;
    QString folded; ///< its letters without case and accents
};

/// An apostrophe parts two words: "Lord" and "s". In scripts without blanks every character is one.
QList<Word> wordsOf(const QString &text);

/// The folded letters of some words, without the blanks between them.
QString joined(const QList<Word> &words, qsizetype first, qsizetype count);

/// Letters that must be changed, added or left out to make one text of the other; no more than
/// `most` + 1 is told.
qsizetype distance(const QString &a, const QString &b, qsizetype most);

} // namespace nimbara::term_words
