#pragma once

#include <QFile>
#include <QString>
#include <QStringList>

namespace nimbara::testing {

/// What a preacher says in one breath: to the next mark behind four words, or fourteen words.
inline QStringList phrasesOf(const QString &name)
{
    QFile file(QStringLiteral(NIMBARA_SERMONS) + QLatin1Char('/') + name);
    const QString text
        = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    QStringList phrases;
    QStringList phrase;
    for (const QString &word : text.simplified().split(QLatin1Char(' '))) {
        phrase.append(word);
        const bool ends = phrase.size() > 3 && QStringLiteral(".,:;?!").contains(word.back());
        if (ends || phrase.size() == 14) {
            phrases.append(phrase.join(QLatin1Char(' ')));
            phrase.clear();
        }
    }
    return phrases;
}

} // namespace nimbara::testing
