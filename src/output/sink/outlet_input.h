#pragma once

#include "output/encode/encoded_tap.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace nimbara {

/// What went into an outlet since its start, and what waits there.
struct OutletFigures {
    std::uint64_t bytes = 0; ///< that the outlet has taken
    std::uint64_t pictures = 0; ///< handed over
    std::uint64_t dropped = 0; ///< pictures left out because too much waited
    std::uint64_t waitingNs = 0; ///< of pictures
    std::uint64_t takenNs = 0; ///< of media, that the outlet has taken
};

/// The way from an encoder into one outlet's muxer. It begins with a key frame, which comes after 0
/// by the lead of the sound's encoder (`EncodedUnit`); the sound begins at 0. When more than
/// `patienceNs` of pictures wait to be sent, pictures are dropped up to the next key frame, never
/// sound, so that a slow outlet holds up no other.
///
/// `take` and `end` on the encoder's threads, the rest on any.
class OutletInput : public EncodedTap {
public:
    /// What the outlet does when another encoder goes on with the pictures.
    enum class Headers {
        Follow, ///< it takes other headers in mid-stream
        Keep, ///< it does not: the key frames hold them as well
    };

    /// Both inputs are "appsrc" elements without caps.
    OutletInput(ElementRef video, ElementRef audio, std::uint64_t patienceNs, Headers headers);

    OutletInput(const OutletInput &) = delete;
    OutletInput &operator=(const OutletInput &) = delete;
    OutletInput(OutletInput &&) = delete;
    OutletInput &operator=(OutletInput &&) = delete;
    /// One that waits for this to hand over begins by itself.
    ~OutletInput() override;

    void take(Track track, const EncodedUnit &unit) override;
    void end(Track track) override;

    /// What waits is measured at `sink`, which is at the outlet's end and was not started yet: a
    /// muxer may hold back a lot.
    void measureAt(GstElement *sink);

    /// Each track ends with what was pushed before `time` (ns on the encoder's time line).
    void finishAt(std::uint64_t time);
    /// Both end with what has come so far.
    void finish();

    /// Nothing is taken before another one hands over. Call before this becomes a tap.
    void waitForOther();
    /// With the next key frame whose sound has not come yet the tracks end here and go on in
    /// `next`, which waits for it and is a tap of the same encoder: no picture and no sound is
    /// missing or doubled between the two.
    void handOverTo(const std::shared_ptr<OutletInput> &next);

    /// There will be no next one; all goes on here.
    void takeBack();

    [[nodiscard]] OutletFigures figures() const;

    /// Its first key frame has come.
    [[nodiscard]] bool hasBegun() const { return base().has_value(); }
    /// When it came, and what the outlet calls 0: ns on the encoder's time line.
    [[nodiscard]] std::optional<std::uint64_t> base() const;

private:
    struct Input {
        ElementRef source;
        CapsRef caps; ///< set last
        bool hasEnded = false;
    };
    /// What has come to the outlet's end, on its thread.
    struct Sent {
        std::atomic<std::uint64_t> bytes = 0;
        std::atomic<std::uint64_t> time = 0; ///< ns for the outlet
    };
    /// ns of pictures that wait to be sent.
    [[nodiscard]] std::uint64_t waitingNs() const;
    void handOver(const EncodedUnit &key);
    void forwardHeld();
    void beginAlone();
    void beginAt(std::uint64_t base, const std::deque<EncodedUnit> &sound);
    void takePicture(const EncodedUnit &unit);
    void takeSound(const EncodedUnit &unit);
    void forward(Input &input, const EncodedUnit &unit);
    static void finish(Input &input);

    mutable std::mutex m_mutex;
    Input m_video;
    Input m_audio;
    const std::uint64_t m_patienceNs;
    const Headers m_headers;
    std::optional<std::uint64_t> m_base; ///< ns on the encoder's time line; none: no key frame yet
    std::deque<EncodedUnit> m_early; ///< sound of the last second before the first key frame
    std::optional<std::uint64_t> m_lastSound; ///< that was forwarded; ns on the encoder's time line
    std::optional<std::uint64_t> m_end; ///< ns on the encoder's time line
    bool m_behind = false; ///< until the next key frame
    bool m_waitsForOther = false; ///< for the one before to hand over
    std::shared_ptr<OutletInput> m_next; ///< goes on with the next key frame
    std::optional<std::uint64_t> m_soundEnd; ///< ns on the encoder's time line, once it has
    std::deque<EncodedUnit> m_held; ///< sound that may belong to the next one
    OutletFigures m_given; ///< bytes with those that wait
    std::uint64_t m_lastPicture = 0; ///< ns for the outlet
    std::shared_ptr<const Sent> m_sent; ///< none: not measured there
};

} // namespace nimbara
