#include "net/websocket_handshake.h"

#include <utility>

namespace nimbara::websocket {

QByteArray upgradeRequest(const QByteArray &host,
    const QByteArray &path,
    const QByteArray &key,
    const QByteArray &authorization)
{
    return "GET " + path
        + " HTTP/1.1\r\n"
          "Host: "
        + host
        + "\r\n"
          "Upgrade: websocket\r\n"
          "Connection: Upgrade\r\n"
          "Sec-WebSocket-Key: "
        + key
        + "\r\n"
          "Sec-WebSocket-Version: 13\r\n"
          "Authorization: "
        + authorization + "\r\n\r\n";
}

std::optional<QByteArray> takeHeaderBlock(QByteArray &buffer)
{
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end >= 0) {
        const QByteArray block = buffer.left(end);
        buffer.remove(0, end + 4);
        return block;
    }
    if (buffer.size() > maxHeaderBlock) {
        return std::exchange(buffer, {});
    }
    return std::nullopt;
}

bool isUpgraded(const QByteArray &headerBlock)
{
    return headerBlock.startsWith("HTTP/1.1 101");
}

} // namespace nimbara::websocket
