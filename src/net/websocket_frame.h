#pragma once

#include <QByteArray>

#include <array>
#include <cstdint>
#include <optional>

/// The framing of RFC 6455, section 5, over bytes. Pure.
namespace nimbara::websocket {

/// Opcodes that matter here (RFC 6455, 5.2).
namespace opcode {
constexpr std::uint8_t continuation = 0;
constexpr std::uint8_t text = 1;
constexpr std::uint8_t close = 8;
constexpr std::uint8_t ping = 9;
constexpr std::uint8_t pong = 10;
} // namespace opcode

/// No frame and no message may be longer: events are a few kilobytes, and a length that a broken
/// peer announces must not become an allocation.
constexpr std::int64_t maxLength = 8LL * 1024 * 1024;

using Mask = std::array<std::uint8_t, 4>;

struct Frame {
    bool fin = true; ///< last frame of its message
    std::uint8_t opcode = opcode::text;
    QByteArray payload; ///< unmasked
};

/// One final frame as a client sends it: masked, never fragmented.
QByteArray encodeFrame(std::uint8_t opcode, const QByteArray &payload, const Mask &mask);

/// Cuts a byte stream into frames. Reserved bits are ignored, masked frames are unmasked.
class FrameReader {
public:
    void append(const QByteArray &bytes) { m_buffer += bytes; }

    /// The next complete frame; none while bytes are missing or once the stream is broken.
    std::optional<Frame> next();

    /// A frame announced more than `maxLength`. Nothing can be read from then on.
    [[nodiscard]] bool isBroken() const { return m_broken; }

private:
    QByteArray m_buffer;
    bool m_broken = false;
};

/// Joins the fragments of a text message.
class MessageReader {
public:
    /// Takes a text or continuation frame; returns the message when this was its last fragment.
    std::optional<QByteArray> add(const Frame &frame);

    /// A message grew beyond `maxLength`.
    [[nodiscard]] bool isBroken() const { return m_broken; }

private:
    QByteArray m_message;
    bool m_broken = false;
};

} // namespace nimbara::websocket
