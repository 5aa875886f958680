#include "support/virtual_device.h"

#include <QProcess>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace nimbara::testing {

VirtualDevice::VirtualDevice(const QString &pipeline)
    : m_process(std::make_unique<QProcess>())
{
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    // A test that crashes takes its devices with it.
    m_process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process->start(QStringLiteral("gst-launch-1.0"),
        (QStringLiteral("-q ") + pipeline).split(QLatin1Char(' ')));
    if (!m_process->waitForStarted()) {
        throw std::runtime_error("gst-launch-1.0 does not start");
    }
}

/// In its default mode the sink is a follower of the graph, which outlives a reader that is late;
/// as a driver ("provide") it stalls for good.
VirtualDevice VirtualDevice::camera(const QString &node,
    const QString &name,
    const QString &colour,
    FrameSize size)
{
    return VirtualDevice(
        QStringLiteral("videotestsrc is-live=true pattern=%1 ! "
                       "video/x-raw,format=YUY2,width=%2,height=%3,framerate=30/1 ! "
                       "pipewiresink stream-properties=p,media.class=Video/Source,"
                       "node.name=%4,node.description=%5,node.autoconnect=false")
            .arg(colour)
            .arg(size.width)
            .arg(size.height)
            .arg(node, name));
}

VirtualDevice VirtualDevice::microphone(const QString &node,
    const QString &name,
    int rate,
    int channels,
    int tone)
{
    return VirtualDevice(QStringLiteral("audiotestsrc is-live=true freq=%1 ! "
                                        "audio/x-raw,format=F32LE,rate=%2,channels=%3 ! "
                                        "pipewiresink stream-properties=p,media.class=Audio/Source,"
                                        "node.name=%4,node.description=%5,node.autoconnect=false")
                             .arg(tone)
                             .arg(rate)
                             .arg(channels)
                             .arg(node, name));
}

VirtualDevice::VirtualDevice(VirtualDevice &&) noexcept = default;
VirtualDevice &VirtualDevice::operator=(VirtualDevice &&) noexcept = default;

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
