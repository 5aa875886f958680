#include "support/rtmp_peer.h"

#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <csignal>
#include <stdexcept>

namespace nimbara::testing {

namespace {

bool answers(std::uint16_t port)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    return socket.waitForConnected(1000);
}

} // namespace

std::uint16_t freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

RtmpPeer::RtmpPeer()
    : m_rtmpPort(freePort())
    , m_rtmpsPort(freePort())
{
    start();
}

void RtmpPeer::start()
{
    m_server.setProcessChannelMode(QProcess::MergedChannels);
    m_server.start(QStringLiteral(NIMBARA_SUPPORT_FOLDER "/rtmp_server.sh"),
        { m_dir.path(), QString::number(m_rtmpPort), QString::number(m_rtmpsPort) });
    for (int ms = 0; ms < 20000 && m_server.state() != QProcess::NotRunning; ms += 20) {
        if (answers(m_rtmpPort) && answers(m_rtmpsPort)) {
            return;
        }
        m_server.waitForFinished(20);
    }
    const std::string words = m_server.readAll().toStdString();
    throw std::runtime_error("the RTMP server does not answer: " + words);
}

RtmpPeer::~RtmpPeer()
{
    stop();
}

void RtmpPeer::stop()
{
    freeze(false);
    m_server.terminate();
    m_server.waitForFinished(5000);
}

QString RtmpPeer::rtmp(const QString &application) const
{
    return QStringLiteral("rtmp://127.0.0.1:%1/%2").arg(m_rtmpPort).arg(application);
}

QString RtmpPeer::rtmps(const QString &application) const
{
    return QStringLiteral("rtmps://localhost:%1/%2").arg(m_rtmpsPort).arg(application);
}

QString RtmpPeer::recordedFile(const QString &key) const
{
    return m_dir.filePath(QStringLiteral("rec/%1.flv").arg(key));
}

QString RtmpPeer::authorityFile() const
{
    return m_dir.filePath(QStringLiteral("ca.pem"));
}

void RtmpPeer::freeze(bool frozen) const
{
    QFile file(m_dir.filePath(QStringLiteral("nginx.pid")));
    if (file.open(QIODevice::ReadOnly)) {
        const int pid = file.readAll().trimmed().toInt();
        if (pid > 1) {
            ::kill(pid, frozen ? SIGSTOP : SIGCONT);
        }
    }
}

} // namespace nimbara::testing
