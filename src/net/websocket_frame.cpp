#include "net/websocket_frame.h"

#include <QtEndian>

#include <algorithm>
#include <utility>

namespace nimbara::websocket {

namespace {

constexpr std::uint8_t finBit = 0x80;
constexpr std::uint8_t maskBit = 0x80;
constexpr std::uint8_t length16 = 126;
constexpr std::uint8_t length64 = 127;

/// Where a frame's parts lie.
struct Layout {
    std::int64_t header; ///< bytes before the mask
    std::uint64_t length; ///< of the payload
    bool masked;
};

/// None while the header is incomplete.
std::optional<Layout> readLayout(const QByteArray &buffer)
{
    if (buffer.size() < 2) {
        return std::nullopt;
    }
    const auto second = static_cast<std::uint8_t>(buffer.at(1));
    const bool masked = (second & maskBit) != 0;
    const auto length = static_cast<std::uint8_t>(second & 0x7f);
    if (length == length16) {
        if (buffer.size() < 4) {
            return std::nullopt;
        }
        return Layout { 4, qFromBigEndian<quint16>(buffer.constData() + 2), masked };
    }
    if (length == length64) {
        if (buffer.size() < 10) {
            return std::nullopt;
        }
        return Layout { 10, qFromBigEndian<quint64>(buffer.constData() + 2), masked };
    }
    return Layout { 2, length, masked };
}

void applyMask(QByteArray &payload, const Mask &mask)
{
    char *bytes = payload.data();
    for (qsizetype i = 0; i < payload.size(); ++i) {
        bytes[i] = static_cast<char>(bytes[i] ^ mask[static_cast<std::size_t>(i & 3)]);
    }
}

template <typename Length> void appendBigEndian(QByteArray &into, Length length)
{
    std::array<char, sizeof(Length)> bytes {};
    qToBigEndian(length, bytes.data());
    into.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

QByteArray encodeFrame(std::uint8_t opcode, const QByteArray &payload, const Mask &mask)
{
    QByteArray frame;
    frame.reserve(payload.size() + 14);
    frame.append(static_cast<char>(finBit | opcode));
    if (payload.size() < length16) {
        frame.append(static_cast<char>(maskBit | payload.size()));
    } else if (payload.size() < 65536) {
        frame.append(static_cast<char>(maskBit | length16));
        appendBigEndian(frame, static_cast<quint16>(payload.size()));
    } else {
        frame.append(static_cast<char>(maskBit | length64));
        appendBigEndian(frame, static_cast<quint64>(payload.size()));
    }
    for (const std::uint8_t byte : mask) {
        frame.append(static_cast<char>(byte));
    }
    QByteArray masked = payload;
    applyMask(masked, mask);
    return frame += masked;
}

std::optional<Frame> FrameReader::next()
{
    const auto layout = m_broken ? std::nullopt : readLayout(m_buffer);
    if (!layout) {
        return std::nullopt;
    }
    if (layout->length > static_cast<std::uint64_t>(maxLength)) {
        m_broken = true;
        m_buffer.clear();
        return std::nullopt;
    }
    const auto length = static_cast<qsizetype>(layout->length);
    const qsizetype start = layout->header + (layout->masked ? 4 : 0);
    if (m_buffer.size() < start + length) {
        return std::nullopt;
    }
    const auto first = static_cast<std::uint8_t>(m_buffer.at(0));
    Frame frame { (first & finBit) != 0,
        static_cast<std::uint8_t>(first & 0x0f),
        m_buffer.mid(start, length) };
    if (layout->masked) {
        Mask mask {};
        std::copy_n(m_buffer.cbegin() + layout->header, mask.size(), mask.begin());
        applyMask(frame.payload, mask);
    }
    m_buffer.remove(0, start + length);
    return frame;
}

std::optional<QByteArray> MessageReader::add(const Frame &frame)
{
    if (m_broken || m_message.size() + frame.payload.size() > maxLength) {
        m_broken = true;
        m_message.clear();
        return std::nullopt;
    }
    m_message += frame.payload;
    if (!frame.fin) {
        return std::nullopt;
    }
    return std::exchange(m_message, {});
}

} // namespace nimbara::websocket
