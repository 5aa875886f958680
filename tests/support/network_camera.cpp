#include "support/network_camera.h"

#include <QFile>
#include <QTcpServer>

#include <csignal>
#include <stdexcept>
#include <sys/types.h>
#include <utility>

namespace nimbara::testing {

namespace {

constexpr int patienceMs = 30'000;

std::uint16_t anyPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// A listener over UDP says nothing about itself.
bool isBound(std::uint16_t port)
{
    QFile table(QStringLiteral("/proc/net/udp"));
    const QByteArray place
        = ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0') + ' ';
    return table.open(QIODevice::ReadOnly) && table.readAll().contains(place);
}

/// Transport streams of small pictures to whoever calls.
QStringList srtArguments(std::uint16_t port, const QString &colour, const QStringList &login)
{
    QString uri = QStringLiteral("uri=srt://127.0.0.1:%1?mode=listener").arg(port);
    if (!login.isEmpty()) {
        uri += QStringLiteral("&passphrase=") + login.first();
    }
    const QString pipeline
        = QStringLiteral("-v videotestsrc is-live=true pattern=solid-color foreground-color=%1"
                         " ! video/x-raw,width=320,height=180,framerate=30/1"
                         " ! openh264enc gop-size=30 ! h264parse ! mpegtsmux alignment=7"
                         " ! srtsink wait-for-connection=false ");
    return pipeline.arg(colour).split(u' ', Qt::SkipEmptyParts) << uri;
}

} // namespace

NetworkCamera::NetworkCamera(Kind kind, QStringList login)
    : m_kind(kind)
    , m_login(std::move(login))
    , m_port(anyPort())
{
}

void NetworkCamera::start(const QString &colour)
{
    stop();
    m_words.clear();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    const bool isRtsp = m_kind == Kind::Rtsp;
    if (isRtsp) {
        m_process.start(QStringLiteral("/usr/bin/python3"),
            QStringList { QStringLiteral(NIMBARA_SUPPORT_FOLDER "/rtsp_server.py"),
                QString::number(m_port),
                colour }
                << m_login);
    } else {
        m_process.start(QStringLiteral("gst-launch-1.0"), srtArguments(m_port, colour, m_login));
    }
    const QString ready
        = isRtsp ? QStringLiteral("ready") : QStringLiteral("New clock: GstSystemClock");
    while (!m_words.contains(ready) && m_process.waitForReadyRead(patienceMs)) {
        m_words += QString::fromUtf8(m_process.readAll());
    }
    while (!isRtsp && !isBound(m_port) && !m_process.waitForFinished(20)) { }
    if (!m_words.contains(ready) || m_process.state() == QProcess::NotRunning) {
        throw std::runtime_error("the camera does not start: " + m_words.toStdString());
    }
}

void NetworkCamera::stop()
{
    m_process.kill();
    m_process.waitForFinished();
}

void NetworkCamera::freeze(bool frozen)
{
    ::kill(static_cast<pid_t>(m_process.processId()), frozen ? SIGSTOP : SIGCONT);
}

QString NetworkCamera::location(const QString &path) const
{
    return m_kind == Kind::Rtsp ? QStringLiteral("rtsp://127.0.0.1:%1%2").arg(m_port).arg(path)
                                : QStringLiteral("srt://127.0.0.1:%1").arg(m_port);
}

QStringList NetworkCamera::asked()
{
    m_process.waitForReadyRead(0);
    m_words += QString::fromUtf8(m_process.readAll());
    return m_words.split(u'\n', Qt::SkipEmptyParts).mid(1);
}

} // namespace nimbara::testing
