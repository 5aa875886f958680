#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

/// The opening handshake of RFC 6455, section 4.1, over bytes. Pure.
namespace nimbara::websocket {

/// An answer whose header block has not ended after so many bytes is no answer.
constexpr std::int64_t maxHeaderBlock = 64LL * 1024;

/// The upgrade request. `path` begins with "/" and holds the query; `key` is base64 of 16 random
/// bytes; `authorization` is the whole value of that header.
QByteArray upgradeRequest(const QByteArray &host,
    const QByteArray &path,
    const QByteArray &key,
    const QByteArray &authorization);

/// Takes the answer's header block and the empty line after it out of `buffer`; returns the block
/// without that line. None while it is incomplete. When no end comes within `maxHeaderBlock` bytes,
/// all of them are the block.
std::optional<QByteArray> takeHeaderBlock(QByteArray &buffer);

/// The server switches protocols.
bool isUpgraded(const QByteArray &headerBlock);

} // namespace nimbara::websocket
