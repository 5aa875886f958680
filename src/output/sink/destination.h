#pragma once

#include "base/message.h"
#include "media/sources/retirement.h"
#include "output/sink/output.h"
#include "signal/frame.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace nimbara {

/// What a destination slot starts with.
struct DestinationPreset {
    const char *name; ///< check-box label and part of the account name of its key
    const char *server; ///< server field at start
};

constexpr std::size_t destinationCount = 4;

/// The four slots in their order.
const std::array<DestinationPreset, destinationCount> &destinationPresets();

/// The server field's text as a fully encoded URL without the key. Throws `Error` unless it is a
/// valid rtmp or rtmps URL with a host and an application, and without user information, query and
/// fragment.
QString checkedServer(const QString &text);

/// The key field's text, trimmed. Throws `Error` when it is empty, holds white space, "?" or "#",
/// or ends with "/".
QString checkedKey(const QString &text);

/// Server (from `checkedServer`) and key (from `checkedKey`) joined by exactly one "/" more than
/// the server lacks.
QString streamLocation(const QString &server, const QString &key);

/// Hides a stream key (`hideSecret`) in every form in which a text may hold it: whole, as part of a
/// URL, and the pieces that a server sees on either side of a "/".
void hideStreamKey(const QString &key);

/// The log line of a start: name, server, length and at most four first characters of the key.
QString startLogLine(const QString &name, const QString &server, const QString &key);

/// One destination slot: idle → running (`start`) → idle, by `stop` or by a failure, which `push`
/// finds. Interface thread only; nothing here waits for the network.
class Destination {
public:
    /// `encoders`: shared with the other destinations; must outlive this.
    Destination(QString name, std::shared_ptr<Retirement> retirement, EncoderPool &encoders);
    Destination(const Destination &) = delete;
    Destination &operator=(const Destination &) = delete;
    Destination(Destination &&) = delete;
    Destination &operator=(Destination &&) = delete;
    /// Hands an output that is left to the retirement.
    ~Destination();

    /// Starts sending frames of `size`. `server` and `key` are the texts of the two fields,
    /// `bitrate` that of the video in bit/s. Throws `Error` with the operator's text; the slot
    /// stays idle and keeps its status then. Call it only when idle.
    void start(const QString &server,
        const QString &key,
        FrameSize size,
        std::int32_t bitrate = outputBitrate);

    /// Drops the output, if any; the status becomes "Detenido".
    void stop();

    /// One tick: stamp, picture, sound, bus. `tNs` as in `Output::stamp`. Returns true when the
    /// output stopped in this tick: the slot is idle and `statusText` tells why.
    bool push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs);

    [[nodiscard]] const QString &name() const { return m_name; }
    [[nodiscard]] bool running() const { return m_output != nullptr; }
    /// The first pictures go out: a running slot whose encoder is ready.
    [[nodiscard]] bool ready() const { return m_output != nullptr && m_output->ready(); }
    /// The server takes what a running slot sends.
    [[nodiscard]] bool accepted() const { return m_output != nullptr && m_output->accepted(); }
    /// Of the present run; none when idle.
    [[nodiscard]] std::optional<OutletFigures> figures() const
    {
        return m_output ? std::optional(m_output->figures()) : std::nullopt;
    }
    /// What ended the last run.
    [[nodiscard]] OutputFailure failure() const { return m_failure; }
    /// What its button does now.
    [[nodiscard]] Message buttonText() const;
    /// "Detenido", the sending notice, or the error that stopped the output.
    [[nodiscard]] const Message &statusText() const { return m_status; }

private:
    QString m_name;
    Message m_status;
    std::shared_ptr<Retirement> m_retirement;
    EncoderPool &m_encoders;
    std::unique_ptr<Output> m_output;
    OutputFailure m_failure = OutputFailure::Other;
};

} // namespace nimbara
