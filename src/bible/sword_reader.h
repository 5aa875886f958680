#pragma once

#include "bible/raw_bible.h"
#include "bible/sword_module.h"

#include <QByteArray>

namespace bible {

/// Reads all verses of a module: raw texts, and those compressed with zlib, in the numbering of the
/// King James Version. Blocks. Throws nimbara::Error for a module that is damaged, locked or made
/// otherwise.
RawBible readSword(const SwordModule &module);

/// The words of an entry, without notes, headings and marks.
QString swordText(const QByteArray &entry, const QString &encoding);

} // namespace bible
