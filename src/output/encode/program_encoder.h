#pragma once

#include "base/message.h"
#include "output/encode/encoded_tap.h"
#include "output/encode/encoder_pipeline.h"
#include "output/encode/pressure.h"
#include "signal/frame.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace nimbara {

/// Encodes the program once for all outputs of one profile, whose taps get what it makes.
///
/// Each of the outputs calls `stamp`, `pushVideo` and `pushAudio` on every frame tick; the first of
/// them counts. None waits: the queues in front of the encoders drop their oldest data. An encoder
/// needs some tenths of a second to get ready, in which those queues would let go of the first
/// pictures. So the time line begins when it is `ready`; until then pushing does nothing.
///
/// Interface thread only, except for the last release, which may block and belongs on a background
/// task.
class ProgramEncoder {
public:
    static constexpr std::int64_t keySpacingNs = 2'000'000'000; ///< between two that are asked for

    /// Builds the pipeline and asks for PLAYING. `converter`: shared with encoders that read the
    /// same pictures. Throws `Error` with the operator's text.
    explicit ProgramEncoder(const EncoderProfile &profile,
        const std::shared_ptr<PictureConverter> &converter = std::make_shared<PictureConverter>());
    ProgramEncoder(const ProgramEncoder &) = delete;
    ProgramEncoder &operator=(const ProgramEncoder &) = delete;
    ProgramEncoder(ProgramEncoder &&) = delete;
    ProgramEncoder &operator=(ProgramEncoder &&) = delete;
    ~ProgramEncoder();

    /// From now on the tap takes part, for as long as it lives. It gets a key frame soon, when one
    /// was not asked for in the last two seconds.
    void join(const std::shared_ptr<EncodedTap> &tap);

    /// Sets the presentation time of the next picture and block, from any fixed origin in ns. The
    /// time line starts at 0 with the first stamp and never below. The same time again: another
    /// output has pushed this tick.
    void stamp(std::int64_t tNs);
    /// Shares the picture, which must not change afterwards and has the profile's size.
    void pushVideo(const FramePtr &frame);
    /// One block of interleaved stereo values at 48 kHz, laid end to end (`AudioTimeline`).
    void pushAudio(std::span<const float> block);
    /// Ends both tracks, once; nothing more is taken.
    void finish();

    void setEffort(Effort effort);
    /// Pictures that were to be encoded since the start.
    [[nodiscard]] std::uint64_t pushed() const { return m_pushed; }
    /// Of those, the ones that were let go of because the encoder did not keep up.
    [[nodiscard]] std::uint64_t lost() const;

    /// Reads the bus and gives why encoding stopped; empty while it goes on.
    const Message &poll();

    [[nodiscard]] bool ready() const { return m_ready->load(); }
    /// `finish` was called: nothing more comes.
    [[nodiscard]] bool hasEnded() const { return m_ended; }
    /// A picture has been taken.
    [[nodiscard]] bool hasBegun() const { return m_base != -1; }
    /// ns on its time line of the last stamp.
    [[nodiscard]] std::uint64_t time() const { return m_time; }
    /// The same of what follows what was pushed so far.
    [[nodiscard]] std::uint64_t nextTime() const;

private:
    using Taps = std::vector<std::weak_ptr<EncodedTap>>;
    /// Shared with the ends' callbacks.
    struct Ends {
        std::mutex mutex;
        Taps taps;
        std::uint64_t soundLead = 0; ///< ns
        std::atomic<std::uint64_t> taken = 0; ///< pictures that left the input
    };
    struct End;
    void listen(const ElementRef &sink, Track track);
    void countTaken();
    void askForKey();
    [[nodiscard]] bool takes() const { return m_error.isEmpty() && !m_ended && m_base != -1; }

    std::shared_ptr<Ends> m_ends = std::make_shared<Ends>();
    std::int64_t m_base = -1; ///< ns, of the first stamp; −1: none yet
    std::int64_t m_tick = -1; ///< ns, the last stamp
    std::int64_t m_keyAsked = -keySpacingNs; ///< ns, tick at which one was last asked for
    bool m_pictureTaken = false; ///< of this tick
    bool m_soundTaken = false;
    bool m_ended = false;
    bool m_isHalfRate = false;
    bool m_skips = false; ///< the next picture, at half the rate
    std::uint64_t m_pushed = 0;
    std::uint64_t m_time = 0; ///< ns, of this tick
    Message m_error;
    EncoderPipeline m_parts;
    std::shared_ptr<const std::atomic<bool>> m_ready;
};

/// The encoders that outputs share. Interface thread only.
class EncoderPool {
public:
    /// The one of this profile that works, or a new one. Throws as `ProgramEncoder`.
    std::shared_ptr<ProgramEncoder> take(const EncoderProfile &profile);

    /// Call on every tick, after the pictures were pushed: sees to it that the encoders ask of the
    /// machine what it has.
    void poll(std::int64_t tNs);
    [[nodiscard]] Effort effort() const { return m_pressure.effort(); }
    /// Pictures of all encoders since the start: to be encoded, and let go of.
    [[nodiscard]] std::uint64_t pushed() const { return m_pushed; }
    [[nodiscard]] std::uint64_t lost() const { return m_lost; }

private:
    struct Entry {
        EncoderProfile profile;
        std::weak_ptr<ProgramEncoder> encoder;
        std::uint64_t pushed = 0; ///< when last seen
        std::uint64_t lost = 0;
    };
    [[nodiscard]] Effort effortNow() const;
    void count(Entry &entry, const ProgramEncoder &encoder);
    std::vector<Entry> m_entries;
    std::shared_ptr<PictureConverter> m_converter = std::make_shared<PictureConverter>();
    Pressure m_pressure;
    std::uint64_t m_pushed = 0;
    std::uint64_t m_lost = 0;
};

} // namespace nimbara
