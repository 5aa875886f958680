#pragma once

#include "bible/raw_bible.h"

#include <QString>

namespace bible {

/// Reads one file of USFM (https://docs.usfm.bible/), one book or several, into `raw`. Headings,
/// notes and introductions are left out, and books outside the canon. `file`: its name, for errors.
/// Throws ImportError, also for a book that is there already.
void readUsfm(RawBible &raw, const QString &text, const QString &file);

} // namespace bible
