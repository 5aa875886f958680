#include "support/virtual_device.h"

#include <QProcess>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace nimbara::testing {

VirtualDevice::VirtualDevice(const QString &program, const QStringList &arguments)
    : m_process(std::make_unique<QProcess>())
{
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    // A test that crashes takes its devices with it.
    m_process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process->start(program, arguments);
    if (!m_process->waitForStarted()) {
        throw std::runtime_error(program.toStdString() + " does not start");
    }
}

namespace {

constexpr const char *cameraNode = "stream-properties=p,media.class=Video/Source,node.name=%1,"
                                   "node.description=%2,node.autoconnect=false";

QStringList words(const QString &pipeline)
{
    return QStringList { QStringLiteral("-q") } + pipeline.split(QLatin1Char(' '));
}

} // namespace

/// In its default mode the sink is a follower of the graph, which outlives a reader that is late;
/// as a driver ("provide") it stalls for good.
VirtualDevice VirtualDevice::camera(const QString &node,
    const QString &name,
    const QString &colour,
    FrameSize size)
{
    const QString pipeline
        = QStringLiteral("videotestsrc is-live=true pattern=%1 ! "
                         "video/x-raw,format=YUY2,width=%2,height=%3,framerate=30/1 ! "
                         "pipewiresink ")
              .arg(colour)
              .arg(size.width)
              .arg(size.height)
        + QString::fromLatin1(cameraNode).arg(node, name);
    return VirtualDevice(QStringLiteral("gst-launch-1.0"), words(pipeline));
}

VirtualDevice
VirtualDevice::muteCamera(const QString &node, const QString &name, const QString &file)
{
    const QString pipeline
        = QStringLiteral("videotestsrc is-live=true ! "
                         "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1 ! "
                         "identity drop-probability=1 ! pipewiresink ")
        + QString::fromLatin1(cameraNode).arg(node, name) + QStringLiteral(",api.v4l2.path=")
        + file;
    return VirtualDevice(QStringLiteral("gst-launch-1.0"), words(pipeline));
}

VirtualDevice VirtualDevice::countingCamera(const QString &port, const QString &colour, int life)
{
    return VirtualDevice(QStringLiteral("/usr/bin/python3"),
        { QStringLiteral(NIMBARA_SUPPORT_FOLDER "/counting_camera.py"),
            port,
            colour,
            QString::number(life) });
}

/// The service fetches the sound when it wants it. A GStreamer sink that hands it over stops for
/// good in six of forty starts.
VirtualDevice VirtualDevice::microphone(const QString &node,
    const QString &name,
    int rate,
    int channels,
    int tone)
{
    const QString command
        = QStringLiteral("exec pw-cat --playback --target 0 --latency 10ms --properties "
                         "'{media.class=Audio/Source node.name=%1 node.description=%2}' "
                         "--rate %4 --channels %5 --format f32 - "
                         "< <(exec ffmpeg -v quiet -f lavfi -i 'aevalsrc=0.8*sin(2*PI*%3*t):s=%4' "
                         "-ac %5 -f f32le -)")
              .arg(node, name)
              .arg(tone)
              .arg(rate)
              .arg(channels);
    return VirtualDevice(QStringLiteral("bash"), { QStringLiteral("-c"), command });
}

VirtualDevice::~VirtualDevice()
{
    if (m_process) {
        unplug();
    }
}

void VirtualDevice::unplug()
{
    m_process->kill();
    m_process->waitForFinished();
}

} // namespace nimbara::testing
