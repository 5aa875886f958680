#pragma once

#include "base/message.h"
#include "bible/passage.h"
#include "bible/shelf.h"
#include "document/edits.h"

#include <QString>

#include <optional>

namespace nimbara {

/// What stands before the dot of a verse layer's reference line.
QString labelOf(const QString &reference);
/// What stands behind it: the name of a Bible, or of what else the text is from.
QString sourceOf(const QString &reference);

/// The passage that a reference line names; none for anything else.
std::optional<bible::Passage> passageOf(const QString &reference);

/// The passage in the second Bible that the layer names: nothing where that has none of it. The
/// Bibles must be loaded.
SecondText secondOf(const Layer &layer, const bible::Passage &passage);
SecondText secondOf(const Layer &layer, const QString &reference);

/// What the operator is told about a second Bible without the passage, or one that is not on this
/// computer; empty when nothing is missing.
Message missingSecond(const Layer &layer);

/// The same of the layer's first Bible, where another text stands in for it (`shownVerse`), else of
/// its second one.
Message missingText(const Layer &layer);

} // namespace nimbara
