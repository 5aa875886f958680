#include "net/websocket_client.h"

#include "net/endpoint_tls.h"
#include "net/websocket_handshake.h"

#include <QRandomGenerator>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

QByteArray newKey()
{
    QByteArray bytes(16, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [] {
        return static_cast<char>(QRandomGenerator::global()->generate() >> 24U);
    });
    return bytes.toBase64();
}

websocket::Mask newMask()
{
    websocket::Mask mask {};
    std::generate(mask.begin(), mask.end(), [] {
        return static_cast<std::uint8_t>(QRandomGenerator::global()->generate() & 0xffU);
    });
    return mask;
}

QByteArray hostHeader(const Endpoint &endpoint)
{
    const QByteArray host = endpoint.host.toUtf8();
    return endpoint.port == 443 ? host : host + ':' + QByteArray::number(endpoint.port);
}

} // namespace

WebSocketClient::WebSocketClient(Endpoint endpoint)
    : m_endpoint(std::move(endpoint))
{
}

void WebSocketClient::open(const QString &path, const QByteArray &authorization)
{
    abort();
    m_path = m_endpoint.url(path).toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority);
    m_authorization = authorization;
    m_socket = new QSslSocket(&m_sockets);
    m_socket->setSslConfiguration(tlsConfiguration(m_endpoint));
    QObject::connect(m_socket, &QSslSocket::encrypted, &m_sockets, [this] { sendUpgrade(); });
    QObject::connect(m_socket, &QSslSocket::readyRead, &m_sockets, [this] { receive(); });
    QObject::connect(m_socket, &QSslSocket::errorOccurred, &m_sockets, [this] {
        failed(Message::verbatim(m_socket->errorString()));
    });
    QObject::connect(m_socket, &QSslSocket::disconnected, &m_sockets, [this] { lost(); });
    m_socket->connectToHostEncrypted(m_endpoint.host,
        m_endpoint.port,
        QIODevice::ReadWrite,
        QAbstractSocket::AnyIPProtocol);
}

void WebSocketClient::abort()
{
    ++m_session;
    m_handshaken = false;
    m_authorization.clear();
    m_headerBuffer.clear();
    m_frames = {};
    m_messages = {};
    if (auto *socket = std::exchange(m_socket, nullptr)) {
        // A socket may not be reused, nor deleted, inside its own signal: each session has its own.
        socket->disconnect(&m_sockets);
        socket->abort();
        socket->deleteLater();
    }
}

bool WebSocketClient::isUnconnected() const
{
    return m_socket == nullptr || m_socket->state() == QAbstractSocket::UnconnectedState;
}

void WebSocketClient::sendUpgrade()
{
    // Audio leaves in small messages that must not wait for each other, and a peer that vanished
    // must be noticed.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    m_socket->write(websocket::upgradeRequest(hostHeader(m_endpoint),
        m_path,
        newKey(),
        std::exchange(m_authorization, {})));
}

void WebSocketClient::receive()
{
    const QByteArray bytes = m_socket->readAll();
    if (m_handshaken) {
        m_frames.append(bytes);
        receiveFrames();
        return;
    }
    m_headerBuffer += bytes;
    if (receiveHandshake()) {
        receiveFrames();
    }
}

/// True when the session goes on with frames.
bool WebSocketClient::receiveHandshake()
{
    const auto block = websocket::takeHeaderBlock(m_headerBuffer);
    if (!block) {
        return false;
    }
    const std::uint32_t session = m_session;
    if (!websocket::isUpgraded(*block)) {
        rejected(*block);
        return false;
    }
    m_frames.append(std::exchange(m_headerBuffer, {}));
    m_handshaken = true;
    opened();
    return session == m_session;
}

void WebSocketClient::receiveFrames()
{
    const std::uint32_t session = m_session;
    while (const auto frame = m_frames.next()) {
        handleFrame(*frame);
        if (session != m_session) {
            return;
        }
    }
    if (m_frames.isBroken() || m_messages.isBroken()) {
        failed("respuesta no válida del servidor");
    }
}

void WebSocketClient::handleFrame(const websocket::Frame &frame)
{
    switch (frame.opcode) {
    case websocket::opcode::close:
        closed();
        break;
    case websocket::opcode::ping:
        sendFrame(websocket::opcode::pong, frame.payload);
        break;
    case websocket::opcode::continuation:
    case websocket::opcode::text:
        if (const auto text = m_messages.add(frame)) {
            message(*text);
        }
        break;
    default:
        break; // binary messages, pongs and unknown frames mean nothing here
    }
}

void WebSocketClient::sendText(const QByteArray &text)
{
    if (m_handshaken) {
        sendFrame(websocket::opcode::text, text);
    }
}

void WebSocketClient::sendFrame(std::uint8_t opcode, const QByteArray &payload)
{
    // A network that went away without closing the connection is noticed by the system after many
    // minutes only. Until then audio would pile up here and the screens would stay empty.
    if (m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite() > stallLimit) {
        failed("la red no responde");
        return;
    }
    m_socket->write(websocket::encodeFrame(opcode, payload, newMask()));
}

} // namespace nimbara
