#pragma once

#include <QString>

namespace nimbara {

/// The log file: "Vesperline.log" in the platform's writable application-data folder of the
/// organisation and application set on the application object. The folder is made, with missing
/// parents, at every call.
QString logFilePath();

/// Appends one line "yyyy-MM-dd HH:mm:ss.zzz", two blanks, `message`, line feed, in local time.
///
/// The file is opened and closed for every line, so it may be moved or deleted while the program
/// runs. Callable from any thread; a line is one write to a file opened for appending. A file that
/// cannot be opened is skipped silently. What is hidden (`hideSecret`) is written as "***".
void logLine(const QString &message);

} // namespace nimbara
