#pragma once

#include "base/background_task.h"
#include "base/message.h"
#include "output/encode/encoded_tap.h"
#include "output/encode/encoder_pipeline.h"
#include "output/encode/picture_branch.h"
#include "output/encode/pressure.h"
#include "output/encode/rate_adaptation.h"
#include "output/encode/slow_watch.h"
#include "output/encode/tap_list.h"
#include "signal/frame.h"

#include <cstdint>
#include <memory>
#include <optional>
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
/// One of the platform's that fails, or is too slow for long, gives way to the portable one, whose
/// first picture is a key frame: the outputs lose what is pushed until that one is ready, some
/// tenths of a second.
///
/// Interface thread only, except for the last release, which may block and belongs on a background
/// task.
class ProgramEncoder {
public:
    static constexpr std::int64_t keySpacingNs = 2'000'000'000; ///< between two that are asked for

    /// Builds the pipelines and asks for PLAYING. `converter`: shared with encoders that read the
    /// same pictures. `h264`: of `videoEncoders`, for a profile of those; none: the first one that
    /// needs no trial. Throws `Error` with the operator's text.
    explicit ProgramEncoder(const EncoderProfile &profile,
        const std::shared_ptr<PictureConverter> &converter = std::make_shared<PictureConverter>(),
        const EncoderChoice *h264 = nullptr);
    ProgramEncoder(const ProgramEncoder &) = delete;
    ProgramEncoder &operator=(const ProgramEncoder &) = delete;
    ProgramEncoder(ProgramEncoder &&) = delete;
    ProgramEncoder &operator=(ProgramEncoder &&) = delete;
    ~ProgramEncoder();

    /// From now on the tap takes part, for as long as it lives. It gets a key frame soon, or two
    /// seconds after one was last asked for. Gives the number of its queue.
    std::uint64_t join(const std::shared_ptr<EncodedTap> &tap);

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
    /// It has simpler coding to offer.
    [[nodiscard]] bool canSpare() const { return m_choice->setCheaper != nullptr; }
    /// Pictures that were to be encoded since the start.
    [[nodiscard]] std::uint64_t pushed() const { return m_pushed; }
    /// Of those, the ones that were let go of because the encoder did not keep up.
    [[nodiscard]] std::uint64_t lost() const;
    /// Beside them, the ones that were left out at half the rate.
    [[nodiscard]] std::uint64_t leftOut() const { return m_leftOut; }

    /// The outputs that send are to tell in this tick what waits for them.
    [[nodiscard]] bool asksForQueues() const { return m_asksForQueues; }
    void tellQueue(const QueueReading &queue) { m_queues.push_back(queue); }
    /// Once all have told: fits the bit rate to what most of them can send.
    void fitRate();
    /// Of the bit rate of its profile that is left, 0.5..1.
    [[nodiscard]] double rateShare() const;

    /// What failed or was too slow and gave way to the portable encoder; none: nothing did.
    [[nodiscard]] const EncoderChoice *givenUp() const { return m_givenUp; }

    /// Reads the buses and gives why encoding stopped; empty while it goes on.
    const Message &poll();

    [[nodiscard]] bool ready() const { return hasBegun() || m_pictures.isReady(); }
    /// `finish` was called: nothing more comes.
    [[nodiscard]] bool hasEnded() const { return m_ended; }
    /// A picture has been taken.
    [[nodiscard]] bool hasBegun() const { return m_base != -1; }
    /// ns on its time line of the last stamp.
    [[nodiscard]] std::uint64_t time() const { return m_time; }
    /// The same of what follows what was pushed so far.
    [[nodiscard]] std::uint64_t nextTime() const;

private:
    void startPictures(const EncoderChoice &choice);
    void startSound();
    void giveUp();
    void askForKey();
    void serveJoiner();
    [[nodiscard]] bool isOfUse();
    [[nodiscard]] bool isPortable() const;
    [[nodiscard]] bool takes() const { return m_error.isEmpty() && !m_ended && m_base != -1; }

    EncoderProfile m_profile;
    std::shared_ptr<PictureConverter> m_converter;
    std::shared_ptr<TapList> m_taps = std::make_shared<TapList>();
    std::int64_t m_base = -1; ///< ns, of the first stamp; −1: none yet
    std::int64_t m_tick = -1; ///< ns, the last stamp
    std::int64_t m_waitedAt = -1; ///< ns, the last one that came before the encoder was ready
    std::int64_t m_keyAsked = -keySpacingNs; ///< ns, tick at which one was last asked for
    std::optional<std::uint64_t>
        m_keysAtJoin; ///< that had come; one that joined waits for the next
    bool m_pictureTaken = false; ///< of this tick
    bool m_soundTaken = false;
    bool m_ended = false;
    Effort m_effort = Effort::Full;
    int m_inTurn = 0; ///< pictures since one was left out
    std::uint64_t m_pushed = 0;
    std::uint64_t m_leftOut = 0;
    std::uint64_t m_lostBefore = 0; ///< by what was given up
    std::uint64_t m_time = 0; ///< ns, of this tick
    std::uint64_t m_joined = 0;
    RateAdaptation m_rate;
    bool m_asksForQueues = false;
    std::vector<QueueReading> m_queues; ///< of this tick
    Message m_error;
    const EncoderChoice *m_choice;
    const EncoderChoice *m_givenUp = nullptr;
    SoundEncoding m_sound;
    PictureBranch m_pictures;
    SlowWatch m_slow; ///< of one of the platform's
    BackgroundTask<void> m_leaving; ///< what was given up ends
};

} // namespace nimbara
