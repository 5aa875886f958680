#pragma once

#include "base/message.h"
#include "bible/builtin.h"
#include "bible/passage.h"
#include "document/edits.h"

#include <QString>

#include <optional>

namespace nimbara {

/// What stands before the dot of a verse layer's reference line.
QString labelOf(const QString &reference);

/// The passage that a reference line names; none for anything else.
std::optional<bible::Passage> passageOf(const QString &reference);

/// The built-in Bible with the identifier, "KJV"; none for any other. The Bibles must be loaded.
const bible::Bible *bibleWithId(const QString &id);

/// The passage in the second Bible that the layer names: nothing where that has none of it. The
/// Bibles must be loaded.
SecondText secondOf(const Layer &layer, const bible::Passage &passage);
SecondText secondOf(const Layer &layer, const QString &reference);

/// What the operator is told about a second Bible without the passage; empty when nothing is
/// missing.
Message missingSecond(const Layer &layer);

} // namespace nimbara
