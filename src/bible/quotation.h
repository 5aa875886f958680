#pragma once

#include "bible/builtin.h"
#include "bible/passage.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace bible {

/// A passage and the verses behind it in its chapter, as they are held against what is said.
struct WrittenVerses {
    QList<Passage> verses; ///< each alone
    QStringList words; ///< of all of them, normalised
    QList<qsizetype> verseOfWord; ///< its place in `verses`
};
/// Waits for no Bible: it must be loaded. Some milliseconds of work: to be kept.
WrittenVerses writtenVerses(const Bible &bible, const Passage &announced);

/// The verses, each alone, that are being read in what was said: those of the passage that was
/// announced, or the ones behind it in its chapter. A translation of other years is found, too, as
/// long as most words are the same; what merely shares some words with a verse is no reading. Each
/// of the verses has at least three words in what was said.
QList<Passage> versesRead(const QString &said, const WrittenVerses &announced);

} // namespace bible
