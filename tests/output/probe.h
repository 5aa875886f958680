#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace nimbara::testing {

/// What ffprobe finds in a media file.
struct Probe {
    QString video; ///< "vp8 1920x1080"; empty: none
    QString audio; ///< "vorbis 48000 2": rate and channels; empty: none
    double duration = 0; ///< seconds, as the container states it; 0 when it does not
    std::vector<double> videoTimes; ///< presentation times of the packets, seconds
    std::vector<double> keyTimes; ///< of the video's key frames
    std::vector<double> audioTimes;
};

Probe probe(const QString &path);

/// What ffmpeg complains about when it decodes the whole file; empty when all is well.
QByteArray decodeErrors(const QString &path);

} // namespace nimbara::testing
