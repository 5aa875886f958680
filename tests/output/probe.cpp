#include "output/probe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QVariantMap>

#include <stdexcept>

namespace nimbara::testing {

namespace {

/// Runs a command whose "%1" is the path; what it printed to `channel`.
QByteArray run(const char *command, const QString &path, QProcess::ProcessChannel channel)
{
    QStringList words = QProcess::splitCommand(QString::fromLatin1(command));
    words.replaceInStrings(QStringLiteral("%1"), path);
    QProcess process;
    process.start(words.takeFirst(), words);
    if (!process.waitForFinished(30000)) {
        throw std::runtime_error(std::string("cannot run ") + command);
    }
    process.setReadChannel(channel);
    return process.readAll();
}

} // namespace

Probe probe(const QString &path)
{
    const QByteArray json
        = run("ffprobe -v quiet -of json -show_streams -show_format -show_packets %1",
            path,
            QProcess::StandardOutput);
    const QVariantMap all = QJsonDocument::fromJson(json).object().toVariantMap();
    Probe found;
    const auto word = [](const QVariant &map, const char *name) {
        return map.toMap().value(QString::fromLatin1(name)).toString();
    };
    const auto isVideo
        = [&](const QVariant &of) { return word(of, "codec_type") == QLatin1String("video"); };
    for (const auto &stream : all[QStringLiteral("streams")].toList()) {
        const QString codec = word(stream, "codec_name") + QLatin1Char(' ');
        if (isVideo(stream)) {
            found.video = codec + word(stream, "width") + QLatin1Char('x') + word(stream, "height");
        } else {
            found.audio
                = codec + word(stream, "sample_rate") + QLatin1Char(' ') + word(stream, "channels");
        }
    }
    found.duration = word(all[QStringLiteral("format")], "duration").toDouble();
    for (const auto &packet : all[QStringLiteral("packets")].toList()) {
        const double time = word(packet, "pts_time").toDouble();
        (isVideo(packet) ? found.videoTimes : found.audioTimes).push_back(time);
        if (isVideo(packet) && word(packet, "flags").startsWith(QLatin1Char('K'))) {
            found.keyTimes.push_back(time);
        }
    }
    return found;
}

QByteArray decodeErrors(const QString &path)
{
    return run("ffmpeg -nostdin -v error -xerror -i %1 -f null -", path, QProcess::StandardError);
}

} // namespace nimbara::testing
