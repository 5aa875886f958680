#pragma once

#include "bible/builtin.h"
#include "bible/passage.h"

#include <cstdint>
#include <optional>

namespace bible {

/// The verse behind a passage, or before it, as a passage of its own; over the ends of chapters and
/// books. Verses that the Bible leaves empty are passed over. None past the ends of the canon, and
/// for a passage without spans.
std::optional<Passage> verseAfter(const Bible &bible, const Passage &passage);
std::optional<Passage> verseBefore(const Bible &bible, const Passage &passage);

} // namespace bible
