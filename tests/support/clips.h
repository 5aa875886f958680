#pragma once

#include "signal/frame.h"

#include <QString>
#include <QStringList>

namespace nimbara::testing {

/// A clip for a test, made by ffmpeg when it is first asked for and kept in the build folder.
///
/// The picture is mid grey. Its top eighth holds the frame number as 16 black (0) or white (1)
/// blocks, lowest bit on the left. The bottom eighth turns from black to white for the first tenth
/// of every second, while the sound, silent otherwise, beeps (1 kHz).
struct ClipRecipe {
    int width = 320;
    int height = 180;
    QString rate = QStringLiteral("30"); ///< frames per second, also as a fraction: "60000/1001"
    double seconds = 2;
    QString videoCodec = QStringLiteral("libx264"); ///< ffmpeg's encoder; empty: no picture
    QString audioCodec = QStringLiteral("aac"); ///< empty: no sound
    QString container = QStringLiteral("mp4"); ///< file ending
    QString pixelFormat = QStringLiteral("yuv420p");
    int audioRate = 48000;
    int audioChannels = 2;
    double soundSeconds = 0; ///< 0: as long as the picture
    bool subtitles = false; ///< a text stream beside the others
    int rotate = 0; ///< degrees, as a phone declares it in the container
    QStringList extra {}; ///< further ffmpeg output options
};

/// The path of the clip. Throws std::runtime_error with ffmpeg's words when it cannot be made.
/// Several test programs may ask for one clip at the same time.
QString clip(const ClipRecipe &recipe);

/// A copy of the clip cut to the first `fraction` of its bytes.
QString truncatedClip(const ClipRecipe &recipe, double fraction);

/// The folder of the clips: exists, and is private to this build.
QString clipFolder();

/// A local file as a media location.
QString fileLocation(const QString &path);

/// What one picture of such a clip shows.
struct ClipPicture {
    int number = -1; ///< frame number; −1 when the blocks are not readable
    bool flash = false;
};

/// Reads a picture that shows the whole clip, at any size.
ClipPicture readClip(const Frame &frame);

} // namespace nimbara::testing
