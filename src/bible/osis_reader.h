#pragma once

#include "bible/raw_bible.h"

#include <QByteArray>

namespace bible {

/// Reads a Bible in OSIS, whose verses are elements or pairs of milestones
/// (https://crosswire.org/osis/). Notes, headings and books outside the canon are left out. `file`:
/// its name, for errors. Throws ImportError.
RawBible readOsis(const QByteArray &data, const QString &file);

} // namespace bible
