#pragma once

#include "output/encode/encoder_pipeline.h"
#include "output/encode/tap_list.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace nimbara {

/// One encoder of pictures at work. Interface thread only, except for destruction, which may block
/// and belongs on a background task.
class PictureBranch {
public:
    /// Nothing at work: what is asked of it does nothing.
    PictureBranch() = default;
    /// Builds the encoder and starts it; `taps` get what it makes, `lead` later (ns). Throws
    /// `Error` with the operator's text.
    PictureBranch(const EncoderProfile &profile,
        const EncoderChoice &choice,
        const std::shared_ptr<PictureConverter> &converter,
        const std::shared_ptr<TapList> &taps,
        std::uint64_t lead);

    /// What is pushed from now on is encoded.
    [[nodiscard]] bool isReady() const { return m_ready && *m_ready; }
    /// False when the input refuses it. `time`: ns.
    bool push(const FramePtr &frame, std::uint64_t time);
    void askForKey() const;
    void finish() const;
    [[nodiscard]] const EncoderControl &control() const { return m_parts.control; }
    [[nodiscard]] GstBus *bus() const { return m_parts.pipeline.bus(); }
    [[nodiscard]] std::uint64_t pushed() const { return m_pushed; }
    /// Pictures pushed that were let go of because the encoder did not keep up.
    [[nodiscard]] std::uint64_t lost() const;
    /// A picture could not be pushed because the encoder is not ready.
    void noteWait() { ++m_waits; }
    /// Much was pushed since a picture last came out, or could not be. Call now and then; `out`:
    /// those that came.
    [[nodiscard]] bool hasStalled(std::uint64_t out);

private:
    PictureEncoding m_parts;
    std::shared_ptr<const std::atomic<bool>> m_ready;
    std::shared_ptr<std::atomic<std::uint64_t>> m_taken; ///< pictures that left the input
    std::uint64_t m_pushed = 0;
    std::uint64_t m_waits = 0;
    std::uint64_t m_outSeen = 0;
    std::uint64_t m_pushedThen = 0;
};

} // namespace nimbara
