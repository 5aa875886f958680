#pragma once

#include "bible/raw_bible.h"

#include <QByteArray>

namespace bible {

/// Reads a Bible in Zefania XML, whose books are numbered in the order of the canon
/// (https://sourceforge.net/projects/zefania-sharp/). Notes and captions are left out, and books
/// beyond the 66th. `file`: its name, for errors. Throws ImportError.
RawBible readZefania(const QByteArray &data, const QString &file);

} // namespace bible
