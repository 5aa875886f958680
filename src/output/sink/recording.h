#pragma once

#include "base/message.h"
#include "media/sources/retirement.h"
#include "output/sink/output.h"
#include "signal/frame.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace nimbara {

enum class RecordingState {
    idle, ///< no output
    recording, ///< frames go into the file
    finishing, ///< end of stream sent, the file is being completed
};

/// What the record button reads in `state`.
Message recordingButtonText(RecordingState state);

/// The slot of the program recording, which may go on from one file to the next. Interface thread
/// only.
///
/// Idle → recording (`start`) → finishing (`finish`) → idle, found by `push` or `poll`. Any failure
/// leads to idle at once. What the muxer had written by then stays on disk.
class Recording {
public:
    /// `encoders`: shared with the destinations; must outlive this.
    Recording(std::shared_ptr<Retirement> retirement, EncoderPool &encoders);
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;
    Recording(Recording &&) = delete;
    Recording &operator=(Recording &&) = delete;
    /// Hands an output that is left to the retirement.
    ~Recording();

    /// Starts recording frames of `size` into the file at `path`, which is overwritten, with
    /// `bitrate` bit/s of video. Throws
    /// `Error` with the operator's text; the slot stays idle then. Call it only when idle. Status
    /// to show once the file is open: `startedText()`.
    void start(const QString &path, FrameSize size, std::int32_t bitrate = outputBitrate);

    /// Goes on in another file with the next key frame after its disk has opened it; the present
    /// one is finished meanwhile. No picture and no sound is missing or doubled between the two.
    /// Throws as `start`; the present one goes on then. Call it only when it can.
    void startPart(const QString &path);
    /// How that came out, once: true when it goes on there, false when the file was refused.
    std::optional<bool> takePartStart() { return std::exchange(m_partStart, std::nullopt); }
    /// Lets go of a next part that is not open yet.
    void callOffPart();
    /// Recording, and the part before is finished.
    [[nodiscard]] bool canStartPart() const
    {
        return state() == RecordingState::recording && ready() && !m_lastPart && !m_nextPart;
    }

    /// Lets go of what is there without waiting for its end.
    void abandon();

    /// Asks for the end of the file. Nothing more is pushed from here on. Does nothing when idle or
    /// already finishing. Returns whether a part that had not begun yet was given up: the one
    /// before is the last then, and the other's file is empty.
    bool finish();

    /// Nothing is pushed any more, to no output: what waits is encoded at once, also where another
    /// output shares the encoder. After `finish`.
    void endEncoder();

    /// How the part before the present one ended, once: whether its file is complete.
    std::optional<bool> takePartEnd() { return std::exchange(m_partEnd, std::nullopt); }

    /// One tick: stamp, picture, sound, bus. `tNs` as in `Output::stamp`. Returns the status to
    /// show when the recording ended in this tick (cleanly or not); the slot is idle then.
    std::optional<Message>
    push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs);

    /// The bus alone, for the close handler, which no longer makes frames. Returns as `push`.
    std::optional<Message> poll();

    /// The first pictures go into the file: a recording whose encoder is ready.
    [[nodiscard]] bool ready() const { return m_output != nullptr && m_output->ready(); }

    /// The disk has not opened the file yet.
    [[nodiscard]] bool isOpening() const { return m_output != nullptr && !m_output->isOpen(); }

    [[nodiscard]] RecordingState state() const;
    /// An output exists: recording or finishing.
    [[nodiscard]] bool exists() const { return m_output || m_lastPart; }
    /// See `Output::position`, of the present file; none when idle.
    [[nodiscard]] std::optional<std::int64_t> position() const
    {
        return m_output ? m_output->position() : std::nullopt;
    }
    /// Of the present file; none when idle.
    [[nodiscard]] std::optional<OutletFigures> figures() const;

    static Message startedText(); ///< "Grabando Programa y audio seleccionado."
    static Message savedText(); ///< "Grabación guardada correctamente"

private:
    [[nodiscard]] std::unique_ptr<Output>
    makeOutput(const QString &path, FrameSize size, Output::Begin begin);
    void pollNextPart();
    void pollLastPart();
    std::optional<Message> completionCheck();

    std::shared_ptr<Retirement> m_retirement;
    EncoderPool &m_encoders;
    std::int32_t m_bitrate = outputBitrate;
    std::unique_ptr<Output> m_output;
    std::unique_ptr<Output> m_nextPart; ///< not open yet
    std::optional<bool> m_partStart;
    std::optional<bool> m_partEnd;
    std::unique_ptr<Output> m_lastPart; ///< being finished, while the next one is written
};

} // namespace nimbara
