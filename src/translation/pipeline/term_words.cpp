#include "translation/pipeline/term_words.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace nimbara::term_words {

namespace {

/// Chinese and Japanese have no blanks.
bool standsAlone(QChar letter)
{
    const QChar::Script script = letter.script();
    return script == QChar::Script_Han || script == QChar::Script_Hiragana
        || script == QChar::Script_Katakana;
}

bool isWordLetter(const QString &text, qsizetype at)
{
    const QChar letter = text.at(at);
    return letter.isLetterOrNumber() || letter.isMark() || letter.isSurrogate();
}

QString folded(const QString &word)
{
    QString letters;
    for (const QChar letter : word.normalized(QString::NormalizationForm_KD)) {
        if (letter.category() != QChar::Mark_NonSpacing) {
            letters += letter;
        }
    }
    return letters.toCaseFolded();
}

} // namespace

QList<Word> wordsOf(const QString &text)
{
    QList<Word> words;
    for (qsizetype at = 0; at < text.size();) {
        if (!isWordLetter(text, at)) {
            ++at;
            continue;
        }
        qsizetype to = at + 1;
        while (!standsAlone(text.at(at)) && to < text.size() && isWordLetter(text, to)
            && !standsAlone(text.at(to))) {
            ++to;
        }
        words.append({ at, to, folded(text.mid(at, to - at)) });
        at = to;
    }
    return words;
}

QString joined(const QList<Word> &words, qsizetype first, qsizetype count)
{
    QString letters;
    for (qsizetype i = first; i < first + count; ++i) {
        letters += words.at(i).folded;
    }
    return letters;
}

qsizetype distance(const QString &a, const QString &b, qsizetype most)
{
    if (std::abs(a.size() - b.size()) > most) {
        return most + 1;
    }
    std::vector<qsizetype> row(static_cast<std::size_t>(b.size()) + 1);
    for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = static_cast<qsizetype>(j);
    }
    for (qsizetype i = 0; i < a.size(); ++i) {
        qsizetype corner = row[0];
        row[0] = i + 1;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const qsizetype changed
                = corner + (a.at(i) == b.at(static_cast<qsizetype>(j) - 1) ? 0 : 1);
            corner = row[j];
            row[j] = std::min({ changed, row[j] + 1, row[j - 1] + 1 });
        }
    }
    return std::min(row.back(), most + 1);
}

} // namespace nimbara::term_words
