#pragma once

#include <QProcess>
#include <QString>

#include <cstdint>
#include <vector>

namespace nimbara::testing {

/// What a player makes of the file: one channel at 48000 Hz; empty without any.
inline std::vector<std::int16_t> decodedSound(const QString &path)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
        { QStringLiteral("-v"),
            QStringLiteral("quiet"),
            QStringLiteral("-i"),
            path,
            QStringLiteral("-ac"),
            QStringLiteral("1"),
            QStringLiteral("-ar"),
            QStringLiteral("48000"),
            QStringLiteral("-f"),
            QStringLiteral("s16le"),
            QStringLiteral("-") });
    ffmpeg.waitForFinished();
    const QByteArray bytes = ffmpeg.readAllStandardOutput();
    const auto *values = reinterpret_cast<const std::int16_t *>(bytes.constData());
    return { values, values + bytes.size() / 2 };
}

} // namespace nimbara::testing
