#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace nimbara::testing {

/// A camera on the network, a process of its own on a free port of this machine: RTSP
/// (rtsp_server.py) or SRT (GStreamer's sink). It runs while this lives; it shows a plain colour.
class NetworkCamera {
public:
    enum class Kind { Rtsp, Srt };

    /// Does not run yet. `login`: of RTSP "basic" or "digest", user and password; of SRT a
    /// passphrase; none: whoever asks is served.
    explicit NetworkCamera(Kind kind, QStringList login = {});
    Q_DISABLE_COPY_MOVE(NetworkCamera)
    ~NetworkCamera() { stop(); }

    /// Runs, or starts anew on the same port; waits until it listens. Throws std::runtime_error
    /// with its words.
    void start(const QString &colour = QStringLiteral("0xffff0000"));
    /// Gone at once, as when its plug is pulled.
    void stop();

    /// It stands still, and goes on: nobody is told, as when its link is cut.
    void freeze(bool frozen);

    /// Without a login.
    [[nodiscard]] QString location(const QString &path = QStringLiteral("/live")) const;
    /// What an RTSP camera was asked since it started: a line "client" for each connection, one
    /// "transport …" for each stream that was set up.
    [[nodiscard]] QStringList asked();

private:
    const Kind m_kind;
    const QStringList m_login;
    const std::uint16_t m_port;
    QProcess m_process;
    QString m_words;
};

} // namespace nimbara::testing
