#pragma once

#include <QString>

namespace nimbara {

/// Whether a recording (WebM, Matroska) was written to its end: its segment knows its size, which
/// the muxer enters last, after length and index, and reaches to the end of the file (RFC 8794,
/// sections 5 and 6; RFC 9559, section 5.1). False for what cannot be read. Asks the disk: for a
/// background task.
[[nodiscard]] bool isFinishedRecording(const QString &path);

} // namespace nimbara
