#pragma once

#include "base/message.h"
#include "media/gst/pipeline_start.h"
#include "output/encode/encoder_pool.h"
#include "output/sink/outlet_input.h"
#include "output/sink/stall_watch.h"
#include "output/sink/stream_end.h"
#include "signal/frame.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace nimbara {

/// What kind of failure ended an output, as far as it matters for the next attempt.
enum class OutputFailure {
    Other, ///< the link, the disk, the encoder
    Refused, ///< the server does not let this key publish
    Certificate, ///< of the server
    NameInUse, ///< the server still has a publisher of this key
    Stalled, ///< the server has long taken nothing, or does not answer
};

/// The usual video bit rate of a stream or recording, in bit/s.
constexpr std::int32_t outputBitrate = 6'000'000;

/// Everything that leaves the studio goes through one of these: a live stream (H.264 and AAC in FLV
/// over RTMP or RTMPS) or a recording (VP8 and Vorbis in WebM, or what streams get in MKV). An
/// encoder, which several outputs may share, feeds the pipeline "nimbara-output" of each, which
/// muxes and sends or writes.
///
/// Once per frame tick the owner calls `stamp`, `pushVideo`, `pushAudio` and `pollOutput`, in this
/// order. None of them waits: the queues in front of the encoders drop their oldest data, so a slow
/// disk or network never holds up the caller. A failure clears `running` and leaves `error`; a
/// server that has long stopped reading (`StallWatch`) is one.
///
/// An encoder needs some tenths of a second to get ready, in which those queues would let go of the
/// first pictures. So the time line begins when it is `ready`; until then pushing does nothing. The
/// same holds for a file that its disk has not opened yet, which may take as long as the disk
/// likes.
///
/// Interface thread only, except for destruction, which may block and belongs on a background task
/// (`Retirement`). No text of this class holds `location`, which ends in the stream key.
class Output {
public:
    /// What one that shares an encoder begins with.
    enum class Begin {
        AtOnce, ///< its next key frame
        WhereAnotherEnds, ///< `goOnFrom`
    };

    /// Builds the pipeline and asks for PLAYING.
    ///
    /// `width`, `height`: of every frame to come, 1..4096. `location`: the full URL of a stream,
    /// the file path of a recording. `bitrate`: video, 500,000..20,000,000 bit/s. `pool`: where an
    /// encoder of this profile may be shared; none: one of its own. Throws `Error` with the
    /// operator's text; a file that is refused late ends the output.
    Output(std::int32_t width,
        std::int32_t height,
        bool isStream,
        const QString &location,
        std::int32_t bitrate,
        EncoderPool *pool = nullptr,
        Begin begin = Begin::AtOnce);
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;
    Output(Output &&) = delete;
    Output &operator=(Output &&) = delete;
    ~Output();

    /// The outlet is there: the file is open.
    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    /// `before`, of the same profile and pool, goes on in this one from the next key frame on:
    /// nothing is missing or doubled between the two. Nothing more is pushed to that one, which
    /// finishes by itself. Call it once, when open.
    void goOnFrom(Output &before);

    /// Sets the presentation time of the next picture and block. `tNs` is the tick's scheduled time
    /// from any fixed origin; the time line starts at 0 with the first stamp and never below.
    void stamp(std::int64_t tNs);

    /// Queues one picture. It is shared, not copied: it must not change afterwards. A size other
    /// than the output's stops the output. Nothing happens when not running or stopping.
    void pushVideo(const FramePtr &frame);

    /// Queues one block of interleaved stereo values at 48 kHz. It is encoded end to end with the
    /// one before (`AudioTimeline`). Nothing happens when not running, stopping, or for an empty
    /// block.
    void pushAudio(std::span<const float> block);

    /// Reads one error or end-of-stream message, without waiting, and looks for a stalled server.
    void pollOutput();

    /// Ends the stream on both inputs, once; nothing more is pushed. The file is complete when
    /// `finished` turns true, which `pollOutput` finds.
    void finish();
    /// Nothing more is pushed to any output of this encoder: it ends with what it was given.
    void endEncoder();

    /// Time in the stream or file of the picture that is pushed next, in ns; none before the first
    /// one is in it.
    [[nodiscard]] std::optional<std::int64_t> position() const;

    /// Since the start. Thread-safe.
    [[nodiscard]] OutletFigures figures() const { return m_input->figures(); }

    /// The one that was to go on is given up before its first key frame: this one is pushed to
    /// again.
    void takeBack();

    /// What is pushed after the next stamp is taken. One that joins a running encoder waits for a
    /// key frame first, two seconds of pictures at most.
    [[nodiscard]] bool ready() const
    {
        return m_hasJoined && m_encoder->ready() && (!m_encoder->hasBegun() || m_input->hasBegun());
    }
    /// Live; false after any failure and after end of stream.
    [[nodiscard]] bool running() const { return m_running; }
    /// End of stream came back: a recording's file is complete.
    [[nodiscard]] bool finished() const { return m_finished; }
    /// End of stream has been sent.
    [[nodiscard]] bool stopping() const { return m_stopping; }
    /// Why the output stopped; empty while it runs and after a clean end.
    [[nodiscard]] const Message &error() const { return m_error; }
    [[nodiscard]] OutputFailure failure() const { return m_failure; }
    /// A stream that its server takes.
    [[nodiscard]] bool accepted() const { return m_running && m_streamEnd.isConnected(); }
    [[nodiscard]] FrameSize size() const { return { m_width, m_height }; }

private:
    void followStart();
    void join();
    void handOverTo(Output &next);
    void fail(const Message &reason);
    void pollEnd();
    void tellQueue();
    [[nodiscard]] bool takes() const { return m_running && m_hasJoined && !m_stopping; }

    std::int32_t m_width;
    std::int32_t m_height;
    Begin m_begin;
    bool m_isOpen = false;
    bool m_hasJoined = false; ///< gets what the encoder makes
    bool m_stopping = false;
    bool m_handsOver = false;
    std::chrono::steady_clock::time_point m_stoppedAt;
    bool m_running = false;
    bool m_finished = false;
    Message m_error;
    OutputFailure m_failure = OutputFailure::Other;
    std::shared_ptr<ProgramEncoder> m_encoder;
    std::shared_ptr<OutletInput> m_input;
    std::uint64_t m_queue = 0; ///< its number for the encoder
    StreamEnd m_streamEnd;
    StallWatch m_stallWatch;
    Pipeline m_pipeline; ///< goes to NULL before anything above is released
    PipelineStart m_start; ///< of a file; comes back before the pipeline is stopped
};

} // namespace nimbara
