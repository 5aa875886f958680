#pragma once

#include "base/message.h"
#include "net/endpoints.h"
#include "net/websocket_frame.h"

#include <QByteArray>
#include <QObject>
#include <QSslSocket>
#include <QString>

#include <cstdint>
#include <functional>

namespace nimbara {

/// A WebSocket client for text messages (RFC 6455) over one TLS connection at a time. It answers
/// pings; it does not reconnect and does not end the session by itself, except by silence after a
/// reported failure: the owner calls `abort`.
///
/// Interface thread only. Every callback may call `abort` or `open`.
class WebSocketClient {
public:
    /// Bytes waiting for the network beyond which it counts as stalled: ten seconds of speech.
    static constexpr std::int64_t stallLimit = 640LL * 1024;

    /// Always TLS, whatever the endpoint's scheme.
    explicit WebSocketClient(Endpoint endpoint);

    /// Connects anew. `path` is below the endpoint's prefix and may hold a query; `authorization`
    /// is forgotten once it is sent.
    void open(const QString &path, const QByteArray &authorization);

    /// Drops the connection without a word. Harmless without one.
    void abort();

    /// Sends one text message; dropped before the handshake is complete.
    void sendText(const QByteArray &message);

    /// The server has accepted the upgrade.
    [[nodiscard]] bool isHandshaken() const { return m_handshaken; }

    /// There is no connection and none is being made.
    [[nodiscard]] bool isUnconnected() const;

    std::function<void()> opened = [] {}; ///< upgrade accepted
    /// Upgrade refused; gets the answer's header block.
    std::function<void(const QByteArray &headerBlock)> rejected = [](const QByteArray &) {};
    std::function<void(const QByteArray &text)> message = [](const QByteArray &) {};
    std::function<void()> closed = [] {}; ///< close frame from the server
    /// Socket error, stalled network or a stream that is no WebSocket; gets the reason.
    std::function<void(const Message &reason)> failed = [](const Message &) {};
    std::function<void()> lost = [] {}; ///< the connection ended without an error

private:
    void sendUpgrade();
    void receive();
    bool receiveHandshake();
    void receiveFrames();
    void handleFrame(const websocket::Frame &frame);
    void sendFrame(std::uint8_t opcode, const QByteArray &payload);

    Endpoint m_endpoint;
    QByteArray m_path;
    QByteArray m_authorization;
    bool m_handshaken = false;
    std::uint32_t m_session = 0; ///< raised by every abort; tells a loop that its session ended
    QByteArray m_headerBuffer;
    websocket::FrameReader m_frames;
    websocket::MessageReader m_messages;
    QSslSocket *m_socket = nullptr; ///< child of m_sockets; null without a session
    QObject m_sockets; ///< context of every connection, and parent of aborted sockets
};

} // namespace nimbara
