#pragma once

#include "bible/verse_index.h"

#include <QList>
#include <QString>

#include <optional>

namespace bible {

/// The verse that is quoted in what was said, of those that a search for its words has found: word
/// for word or nearly, a whole one or so much of it that nobody says it by chance. None where two
/// verses begin with the same few words. Waits for no Bible: all must be loaded.
std::optional<Ref> verseQuoted(const QString &said, const QList<FoundVerse> &found);

} // namespace bible
