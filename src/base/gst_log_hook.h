#pragma once

#include <QHash>
#include <QString>

#include <gst/gst.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace nimbara {

/// Lets the first lines of one source location through and counts the rest.
///
/// Per key at most 5 lines pass in any window of 60 s. The number dropped is told once, when the
/// key logs again after its window. Not thread-safe; the hook holds a mutex around it.
class RepeatFilter {
public:
    struct Verdict {
        bool pass = false; ///< write the line
        std::int32_t omitted = 0; ///< lines dropped in the window that just closed; 0: no summary
    };

    /// Counts one line of `key` at `nowSeconds` (seconds since the epoch).
    Verdict count(const QString &key, std::int64_t nowSeconds);

private:
    struct Window {
        std::int64_t start = 0;
        std::int32_t count = 0;
    };
    QHash<QString, Window> m_windows;
};

/// One GStreamer log call with every text already decoded; missing texts are empty.
struct GstLogEntry {
    int level = 0; ///< GstDebugLevel: 1 error, 2 warning, …
    QString category;
    QString file;
    int line = 0;
    QString function;
    QString message;
};

/// The log lines that `entry` causes at `nowSeconds`: none, its own, or the summary of the window
/// before and its own.
std::vector<QString>
gstLogLines(RepeatFilter &filter, const GstLogEntry &entry, std::int64_t nowSeconds);

/// Sets GStreamer's default threshold to WARNING and sends its lines to the log file through a
/// `RepeatFilter`. Call once, after `gst_init`. GStreamer's own output to standard error, or where
/// GST_DEBUG_FILE says, stays. No line of either holds a secret that `hideSecret` knows.
void installGstLogHook();

} // namespace nimbara
