#include "support/virtual_device.h"

#include <QProcess>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace nimbara::testing {

VirtualDevice::VirtualDevice(const QStringList &pipeline)
    : m_process(std::make_unique<QProcess>())
{
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    // A test that crashes takes its devices with it.
    m_process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process->start(QStringLiteral("gst-launch-1.0"),
        QStringList { QStringLiteral("-q") } + pipeline);
    if (!m_process->waitForStarted()) {
        throw std::runtime_error("gst-launch-1.0 does not start");
    }
}

VirtualDevice VirtualDevice::camera(const QString &node,
    const QString &name,
    const QString &colour,
    FrameSize size)
{
    return VirtualDevice(QStringList { QStringLiteral("videotestsrc"),
        QStringLiteral("is-live=true"),
        QStringLiteral("pattern=") + colour,
        QStringLiteral("!"),
        QStringLiteral("video/x-raw,format=YUY2,width=%1,height=%2,framerate=30/1")
            .arg(size.width)
            .arg(size.height),
        QStringLiteral("!"),
        QStringLiteral("pipewiresink"),
        QStringLiteral("mode=provide"),
        QStringLiteral("stream-properties=p,media.class=Video/Source,node.name=%1,"
                       "node.description=%2")
            .arg(node, name) });
}

/// In its default mode the sink is a follower, which outlives a reader that is late; as a driver
/// ("provide") it stalls for good.
VirtualDevice VirtualDevice::microphone(const QString &node,
    const QString &name,
    int rate,
    int channels,
    int tone)
{
    return VirtualDevice(QStringList { QStringLiteral("audiotestsrc"),
        QStringLiteral("is-live=true"),
        QStringLiteral("freq=%1").arg(tone),
        QStringLiteral("!"),
        QStringLiteral("audio/x-raw,format=F32LE,rate=%1,channels=%2").arg(rate).arg(channels),
        QStringLiteral("!"),
        QStringLiteral("pipewiresink"),
        QStringLiteral("stream-properties=p,media.class=Audio/Source,node.name=%1,"
                       "node.description=%2,node.autoconnect=false")
            .arg(node, name) });
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
