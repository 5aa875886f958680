#pragma once

#include "bible/raw_bible.h"
#include "bible/shelf.h"

#include <QList>
#include <QStringList>

namespace bible {

/// Reads a Bible from one file of OSIS or Zefania, or from one or several of USFM. Blocks. Throws
/// ImportError, and nimbara::Error when a file cannot be read or there is no verse in it.
RawBible readBibleFiles(const QStringList &paths);

/// The Bible in the numbering of the canon (`Numbering`), with a language, an identifier and a name
/// that no Bible of `others` has; one of the same code and name is the one that it replaces, and
/// keeps its identifier.
Bible inCanon(const RawBible &raw, const QList<BiblePtr> &others);

} // namespace bible
