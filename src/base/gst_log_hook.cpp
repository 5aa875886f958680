#include "base/gst_log_hook.h"

#include "base/log.h"
#include "base/secret_texts.h"

#include <QCoreApplication>
#include <QDateTime>

#include <cstdio>
#include <mutex>

namespace nimbara {

namespace {

constexpr std::int64_t windowSeconds = 60;
constexpr std::int32_t linesPerWindow = 5;

QString messageText(GstDebugMessage *message)
{
    return QString::fromUtf8(message != nullptr ? gst_debug_message_get(message) : nullptr);
}

/// Where GStreamer's own output goes: what GST_DEBUG_FILE names ("-": standard output), else
/// standard error. GStreamer has begun the file, so it is continued; it stays open until the end.
std::FILE *ownOutput()
{
    QByteArray named = qgetenv("GST_DEBUG_FILE");
    if (named == "-") {
        return stdout;
    }
    if (named.contains("%r")) { // a random number, which GStreamer does not tell
        return stderr;
    }
    named.replace("%p", QByteArray::number(QCoreApplication::applicationPid()));
    std::FILE *file = named.isEmpty() ? nullptr : std::fopen(named.constData(), "a");
    return file != nullptr ? file : stderr;
}

/// GStreamer's own output: unchanged, except that a line with a secret is printed without it. A
/// desktop session keeps standard error in a log of its own. `userData`: the open file.
void printWithoutSecrets(GstDebugCategory *category,
    GstDebugLevel level,
    const gchar *file,
    const gchar *function,
    gint line,
    GObject *object,
    GstDebugMessage *message,
    gpointer userData)
{
    const QString text = messageText(message);
    const QString clean = withoutSecrets(text);
    if (clean == text) {
        gst_debug_log_default(category, level, file, function, line, object, message, userData);
        return;
    }
    auto *out = static_cast<std::FILE *>(userData);
    std::fprintf(out, "%s:%d:%s: %s\n", file, line, function, clean.toUtf8().constData());
    std::fflush(out);
}

void gstLogHook(GstDebugCategory *category,
    GstDebugLevel level,
    const gchar *file,
    const gchar *function,
    gint line,
    GObject * /*object*/,
    GstDebugMessage *message,
    gpointer /*userData*/)
{
    // Before the lock: what a message describes may log a line of its own while it is written out.
    const QString text = withoutSecrets(messageText(message));
    static std::mutex mutex;
    static RepeatFilter filter;
    const std::lock_guard lock(mutex);
    const GstLogEntry entry { level,
        QString::fromUtf8(category != nullptr ? gst_debug_category_get_name(category) : nullptr),
        QString::fromUtf8(file),
        line,
        QString::fromUtf8(function),
        text };
    for (const QString &out : gstLogLines(filter, entry, QDateTime::currentSecsSinceEpoch())) {
        logLine(out);
    }
}

} // namespace

RepeatFilter::Verdict RepeatFilter::count(const QString &key, std::int64_t nowSeconds)
{
    Window &window = m_windows[key];
    if (nowSeconds - window.start < windowSeconds) {
        return { window.count++ < linesPerWindow, 0 };
    }
    const std::int32_t omitted = std::max(window.count - linesPerWindow, 0);
    window = { nowSeconds, 1 };
    return { true, omitted };
}

std::vector<QString>
gstLogLines(RepeatFilter &filter, const GstLogEntry &entry, std::int64_t nowSeconds)
{
    const QString key = QStringLiteral("%1:%2").arg(entry.file).arg(entry.line);
    const RepeatFilter::Verdict verdict = filter.count(key, nowSeconds);
    std::vector<QString> lines;
    if (verdict.omitted > 0) {
        lines.push_back(
            QStringLiteral("GST (%1 repeticiones omitidas de %2)").arg(verdict.omitted).arg(key));
    }
    if (verdict.pass) {
        // One call for all the texts: a "%" inside a message is never taken for a place.
        lines.push_back(QStringLiteral("GST %1 %2 %3:%4 %5 : %6")
                            .arg(QString::number(entry.level),
                                entry.category,
                                entry.file,
                                QString::number(entry.line),
                                entry.function,
                                entry.message));
    }
    return lines;
}

void installGstLogHook()
{
    gst_debug_set_default_threshold(GST_LEVEL_WARNING);
    if (gst_debug_remove_log_function(gst_debug_log_default) > 0) {
        gst_debug_add_log_function(printWithoutSecrets, ownOutput(), nullptr);
    }
    gst_debug_add_log_function(gstLogHook, nullptr, nullptr);
}

} // namespace nimbara
