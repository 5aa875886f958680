#pragma once

#include "bible/builtin.h"
#include "bible/passage.h"

#include <QList>
#include <QString>

namespace bible {

/// The verses, each alone, that are being read in what was said: those of the passage that was
/// announced, or the ones behind it in its chapter. A translation of other years is found, too, as
/// long as most words are the same; what merely shares some words with a verse is no reading. Each
/// of the verses has at least three words in what was said. Waits for no Bible: it must be loaded.
QList<Passage> versesRead(const QString &said, const Bible &bible, const Passage &announced);

} // namespace bible
