#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>

namespace nimbara::testing {

/// A real RTMP and RTMPS server (rtmp_server.sh) on free ports of this machine. It runs while this
/// lives.
class RtmpPeer {
public:
    /// Waits until both ports answer. Throws std::runtime_error with the server's words.
    RtmpPeer();
    Q_DISABLE_COPY_MOVE(RtmpPeer)
    ~RtmpPeer();

    /// The server goes, with its connections, and comes again on the same ports.
    void stop();
    void start();

    /// Server URLs without the key. Application "live" records, "closed" refuses every publisher.
    [[nodiscard]] QString rtmp(const QString &application) const;
    [[nodiscard]] QString rtmps(const QString &application) const;

    /// The file that "live" records for the key.
    [[nodiscard]] QString recordedFile(const QString &key) const;
    /// The authority that signed the certificate of the RTMPS side, PEM.
    [[nodiscard]] QString authorityFile() const;

    /// Stops the server from reading and answering, with its connections left open, or lets it go
    /// on.
    void freeze(bool frozen) const;

private:
    QTemporaryDir m_dir;
    std::uint16_t m_rtmpPort = 0;
    std::uint16_t m_rtmpsPort = 0;
    QProcess m_server;
};

/// A TCP port of 127.0.0.1 that nobody listens on at the moment.
std::uint16_t freePort();

} // namespace nimbara::testing
