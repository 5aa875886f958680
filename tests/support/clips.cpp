#include "support/clips.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>

#include <stdexcept>

namespace nimbara::testing {

using namespace Qt::StringLiterals;

namespace {

constexpr int counterBits = 16;

QString pictureFilter()
{
    QStringList filters { QStringLiteral("drawbox=x=0:y=0:w=iw:h=ih/8:color=black:t=fill"),
        QStringLiteral("drawbox=x=0:y=ih*7/8:w=iw:h=ih/8:color=black:t=fill"),
        QStringLiteral("drawbox=x=0:y=ih*7/8:w=iw:h=ih/8:color=white:t=fill:"
                       "enable='lt(mod(t\\,1)\\,0.0999)'") };
    for (int bit = 0; bit < counterBits; ++bit) {
        filters += QStringLiteral("drawbox=x=iw*%1/16:y=0:w=iw/16:h=ih/8:color=white:t=fill:"
                                  "enable='gte(bitand(n\\,%2)\\,1)'")
                       .arg(bit)
                       .arg(1 << bit);
    }
    return filters.join(QLatin1Char(','));
}

QString videoInput(const ClipRecipe &recipe)
{
    return u" -f lavfi -i color=c=gray:s=%1x%2:r=%3:d=%4,%5,format=%6"_s.arg(recipe.width)
        .arg(recipe.height)
        .arg(recipe.rate)
        .arg(recipe.seconds)
        .arg(pictureFilter(), recipe.pixelFormat);
}

QString audioInput(const ClipRecipe &recipe)
{
    return u" -f lavfi -i aevalsrc=0.5*sin(2*PI*1000*t)*lt(mod(t\\,1)\\,0.1):s=%1:d=%2"_s
        .arg(recipe.audioRate)
        .arg(recipe.soundSeconds > 0 ? recipe.soundSeconds : recipe.seconds);
}

QStringList ffmpegArguments(const ClipRecipe &recipe)
{
    if (recipe.rotate != 0) { // ffmpeg writes the turn only while it copies a stream
        ClipRecipe upright = recipe;
        upright.rotate = 0;
        return u"-v error -i"_s.split(u' ')
            << clip(upright)
            << u"-c copy -metadata:s:v:0 rotate=%1"_s.arg(recipe.rotate).split(u' ');
    }
    QString input = u"-v error -y"_s;
    QString output;
    if (!recipe.videoCodec.isEmpty()) {
        input += videoInput(recipe);
        output += u" -c:v %1 -g %2"_s.arg(recipe.videoCodec, recipe.rate);
    }
    if (!recipe.audioCodec.isEmpty()) {
        input += audioInput(recipe);
        output += u" -c:a %1 -ac %2"_s.arg(recipe.audioCodec).arg(recipe.audioChannels);
    }
    if (recipe.subtitles) {
        const QByteArray text = "1\n00:00:00,000 --> 00:00:09,000\nAmén\n\n";
        input += u" -f srt -i data:text/plain;base64,"_s + QString::fromLatin1(text.toBase64());
    }
    return (input + output).split(u' ') + recipe.extra;
}

void runFfmpeg(const QStringList &arguments)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), arguments);
    if (!ffmpeg.waitForStarted() || !ffmpeg.waitForFinished(120'000) || ffmpeg.exitCode() != 0) {
        throw std::runtime_error("ffmpeg: " + ffmpeg.readAllStandardError().toStdString());
    }
}

/// Blocks are read at their centre.
int brightness(const Frame &frame, double x, double y)
{
    const auto column = static_cast<std::size_t>(x * frame.width);
    const auto row = static_cast<std::size_t>(y * frame.height);
    return frame.pixels[(row * static_cast<std::size_t>(frame.width) + column) * 4 + 1];
}

} // namespace

QString clipFolder()
{
    const QString folder = QStringLiteral(NIMBARA_CLIP_FOLDER);
    QDir().mkpath(folder);
    return folder;
}

QString clip(const ClipRecipe &recipe)
{
    const QStringList arguments = ffmpegArguments(recipe);
    const QByteArray key = QCryptographicHash::hash(arguments.join(QLatin1Char('\n')).toUtf8(),
        QCryptographicHash::Sha256);
    const QString name
        = QString::fromLatin1(key.toHex().left(16)) + QLatin1Char('.') + recipe.container;
    const QString path = QDir(clipFolder()).filePath(name);
    if (!QFile::exists(path)) {
        // Made aside and moved, so that no other program finds half a clip.
        const QTemporaryDir aside(QDir(clipFolder()).filePath(QStringLiteral("making-XXXXXX")));
        const QString made = aside.filePath(name);
        runFfmpeg(arguments + QStringList { made });
        if (!QFile::rename(made, path) && !QFile::exists(path)) {
            throw std::runtime_error("the clip cannot be moved into its folder");
        }
    }
    return path;
}

QString truncatedClip(const ClipRecipe &recipe, double fraction)
{
    const QString whole = clip(recipe);
    const QString path = whole + QStringLiteral(".%1.cut").arg(fraction);
    QFile from(whole);
    QFile into(path);
    if (!from.open(QIODevice::ReadOnly) || !into.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("the clip cannot be cut");
    }
    into.write(from.read(static_cast<qint64>(static_cast<double>(from.size()) * fraction)));
    return path;
}

QString fileLocation(const QString &path)
{
    return QUrl::fromLocalFile(path).toString();
}

ClipPicture readClip(const Frame &frame)
{
    ClipPicture picture;
    int number = 0;
    for (int bit = 0; bit < counterBits; ++bit) {
        const int level = brightness(frame, (bit + 0.5) / counterBits, 1.0 / 16);
        if (level > 80 && level < 170) {
            return picture;
        }
        number |= level >= 170 ? 1 << bit : 0;
    }
    picture.number = number;
    picture.flash = brightness(frame, 0.5, 15.0 / 16) > 128;
    return picture;
}

} // namespace nimbara::testing
