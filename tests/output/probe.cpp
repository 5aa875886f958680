#include "output/probe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QVariantMap>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace nimbara::testing {

namespace {

/// Runs a command for the path, which goes in place of "%1"; what it printed to `channel`.
QByteArray run(QStringList words, const QString &path, QProcess::ProcessChannel channel)
{
    words.replaceInStrings(u"%1"_s, path);
    QProcess process;
    process.start(words.takeFirst(), words);
    if (!process.waitForFinished(30000)) {
        throw std::runtime_error("cannot run " + process.program().toStdString());
    }
    process.setReadChannel(channel);
    return process.readAll();
}

} // namespace

Probe probe(const QString &path)
{
    const auto command = u"ffprobe -v quiet -of json -show_streams -show_format -show_packets %1"_s;
    const QByteArray json = run(command.split(u' '), path, QProcess::StandardOutput);
    const QVariantMap all = QJsonDocument::fromJson(json).object().toVariantMap();
    Probe found;
    const auto word = [](const QVariant &map, const char *name) {
        return map.toMap().value(QString::fromLatin1(name)).toString();
    };
    const auto isVideo = [&](const QVariant &of) { return word(of, "codec_type") == "video"_L1; };
    for (const auto &stream : all[u"streams"_s].toList()) {
        const QString codec = word(stream, "codec_name") + u' ';
        if (isVideo(stream)) {
            found.video = codec + word(stream, "width") + u'x' + word(stream, "height");
        } else {
            found.audio = codec + word(stream, "sample_rate") + u' ' + word(stream, "channels");
        }
    }
    found.duration = word(all[u"format"_s], "duration").toDouble();
    for (const auto &packet : all[u"packets"_s].toList()) {
        const double time = word(packet, "pts_time").toDouble();
        (isVideo(packet) ? found.videoTimes : found.audioTimes).push_back(time);
        if (isVideo(packet) && word(packet, "flags").startsWith(u'K')) {
            found.keyTimes.push_back(time);
        }
    }
    return found;
}

QByteArray decodeErrors(const QString &path)
{
    // With the file's own time base: whole frame times would make two of the file's ms one.
    const auto command = u"ffmpeg -nostdin -v error -xerror -i %1 -enc_time_base -1 -f null -"_s;
    return run(command.split(u' '), path, QProcess::StandardError);
}

} // namespace nimbara::testing
