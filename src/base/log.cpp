#include "base/log.h"

#include "base/secret_texts.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace nimbara {

QString logFilePath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(folder);
    return folder + QStringLiteral("/Vesperline.log");
}

void logLine(const QString &message)
{
    // Unbuffered, so that the whole line reaches the file in one write: lines of two threads never
    // run into each other.
    QFile file(logFilePath());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        return;
    }
    const QString time
        = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
#ifdef Q_OS_WIN
    const auto lineEnd = QStringLiteral("\r\n");
#else
    const auto lineEnd = QStringLiteral("\n");
#endif
    file.write((time + QStringLiteral("  ") + withoutSecrets(message) + lineEnd).toUtf8());
}

} // namespace nimbara
