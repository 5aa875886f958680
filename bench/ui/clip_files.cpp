#include "ui/clip_files.h"

#include <QFile>
#include <QProcess>
#include <QUrl>

#include <stdexcept>

namespace nimbara::bench {

ClipFiles::ClipFiles(int count, int seconds)
{
    const QString first = m_folder.filePath(QStringLiteral("0.mp4"));
    const QString source
        = QStringLiteral("testsrc2=size=1280x720:rate=30:duration=%1,format=yuv420p[out0];"
                         "sine=duration=%1[out1]")
              .arg(seconds);
    QProcess maker;
    maker.start(QStringLiteral("ffmpeg"),
        QStringList { QStringLiteral("-v"),
            QStringLiteral("error"),
            QStringLiteral("-f"),
            QStringLiteral("lavfi"),
            QStringLiteral("-i"),
            source,
            QStringLiteral("-preset"),
            QStringLiteral("ultrafast"),
            first });
    if (!maker.waitForFinished(300'000) || maker.exitCode() != 0) {
        throw std::runtime_error("ffmpeg: " + maker.readAllStandardError().toStdString());
    }
    for (int i = 0; i < count; ++i) {
        const QString path = m_folder.filePath(QStringLiteral("%1.mp4").arg(i));
        if (i > 0 && !QFile::copy(first, path)) {
            throw std::runtime_error("no room for the clips");
        }
        m_locations << QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
    }
}

} // namespace nimbara::bench
