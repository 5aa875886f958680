#include "output/probe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <stdexcept>

namespace nimbara::testing {

namespace {

QByteArray
run(const QString &program, const QStringList &arguments, QProcess::ProcessChannel channel)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(30000)) {
        throw std::runtime_error("cannot run " + program.toStdString());
    }
    return channel == QProcess::StandardOutput ? process.readAllStandardOutput()
                                               : process.readAllStandardError();
}

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

void readStream(const QJsonObject &stream, Probe &found)
{
    if (stream[text("codec_type")].toString() == text("video")) {
        found.videoCodec = stream[text("codec_name")].toString();
        found.width = stream[text("width")].toInt();
        found.height = stream[text("height")].toInt();
    } else {
        found.audioCodec = stream[text("codec_name")].toString();
        found.audioRate = stream[text("sample_rate")].toString().toInt();
        found.audioChannels = stream[text("channels")].toInt();
    }
}

} // namespace

Probe probe(const QString &path)
{
    const QByteArray json = run(text("ffprobe"),
        { text("-v"),
            text("quiet"),
            text("-of"),
            text("json"),
            text("-show_streams"),
            text("-show_format"),
            text("-show_packets"),
            path },
        QProcess::StandardOutput);
    const QJsonObject all = QJsonDocument::fromJson(json).object();
    Probe found;
    for (const auto &stream : all[text("streams")].toArray()) {
        readStream(stream.toObject(), found);
    }
    found.duration = all[text("format")].toObject()[text("duration")].toString().toDouble();
    for (const auto &value : all[text("packets")].toArray()) {
        const QJsonObject packet = value.toObject();
        const bool isVideo = packet[text("codec_type")].toString() == text("video");
        auto &times = isVideo ? found.videoTimes : found.audioTimes;
        if (isVideo && packet[text("flags")].toString().startsWith(text("K"))) {
            found.keyTimes.push_back(packet[text("pts_time")].toString().toDouble());
        }
        times.push_back(packet[text("pts_time")].toString().toDouble());
    }
    return found;
}

QByteArray decodeErrors(const QString &path)
{
    return run(text("ffmpeg"),
        { text("-nostdin"),
            text("-v"),
            text("error"),
            text("-xerror"),
            text("-i"),
            path,
            text("-f"),
            text("null"),
            text("-") },
        QProcess::StandardError);
}

} // namespace nimbara::testing
