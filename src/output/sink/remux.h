#pragma once

#include <QString>

namespace nimbara {

/// Writes what an interrupted recording (WebM, Matroska) holds into a whole file, with its length
/// and an index, as it is encoded. Takes as long as the disk does: for a background task. Throws
/// `Error` with the operator's text; what was written of `target` by then stays.
void remux(const QString &source, const QString &target);

} // namespace nimbara
