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

namespace nimbara {

enum class RecordingState {
    idle, ///< no output
    recording, ///< frames go into the file
    finishing, ///< end of stream sent, the file is being completed
};

/// What the record button reads in `state`.
Message recordingButtonText(RecordingState state);

/// The slot of the program recording. Interface thread only.
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

    /// Starts recording frames of `size` into the file at `path`, which is overwritten. Throws
    /// `Error` with the operator's text; the slot stays idle then. Call it only when idle. Status
    /// to show afterwards: `startedText()`.
    void start(const QString &path, FrameSize size);

    /// Asks for the end of the file. Nothing more is pushed from here on. Does nothing when idle or
    /// already finishing.
    void finish();

    /// One tick: stamp, picture, sound, bus. `tNs` as in `Output::stamp`. Returns the status to
    /// show when the recording ended in this tick (cleanly or not); the slot is idle then.
    std::optional<Message>
    push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs);

    /// The bus alone, for the close handler, which no longer makes frames. Returns as `push`.
    std::optional<Message> poll();

    /// The first pictures go into the file: a recording whose encoder is ready.
    [[nodiscard]] bool ready() const { return m_output != nullptr && m_output->ready(); }

    [[nodiscard]] RecordingState state() const;
    /// An output exists: recording or finishing.
    [[nodiscard]] bool exists() const { return m_output != nullptr; }

    static Message startedText(); ///< "Grabando Programa y audio seleccionado."
    static Message savedText(); ///< "Grabación guardada correctamente"

private:
    std::optional<Message> completionCheck();

    std::shared_ptr<Retirement> m_retirement;
    EncoderPool &m_encoders;
    std::unique_ptr<Output> m_output;
};

} // namespace nimbara
