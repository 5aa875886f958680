#pragma once

#include "base/background_task.h"
#include "media/sources/retirement.h"
#include "output/encode/h264_encoders.h"
#include "output/encode/pressure.h"
#include "output/encode/program_encoder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace nimbara {

/// The encoders that outputs share. Interface thread only.
class EncoderPool {
public:
    /// What the interface thread lets go of last ends by `retirement`; none: right there.
    explicit EncoderPool(std::weak_ptr<Retirement> retirement = {})
        : m_retirement(std::move(retirement))
    {
    }

    /// The one of this profile that works, or a new one. Throws as `ProgramEncoder`.
    std::shared_ptr<ProgramEncoder> take(const EncoderProfile &profile);

    /// Call on every tick, after the pictures were pushed: sees to it that the encoders ask of the
    /// machine and of the line what they have.
    void poll(std::int64_t tNs);
    /// The same where no picture is pushed: some seconds after the last encoder's end what they
    /// left is given back to the system.
    void rest(std::int64_t tNs);
    [[nodiscard]] Effort effort() const { return m_pressure.effort(); }
    /// Pictures of all encoders since the start: to be encoded, and let go of.
    [[nodiscard]] std::uint64_t pushed() const { return m_pushed; }
    [[nodiscard]] std::uint64_t lost() const { return m_lost; }
    /// Beside them, the ones that were left out under pressure.
    [[nodiscard]] std::uint64_t leftOut() const { return m_leftOut; }
    /// What the encoder that gave up most has left of its bit rate, 0.5..1.
    [[nodiscard]] double rateShare() const { return m_rateShare; }
    /// Which one is taken for the next H.264.
    [[nodiscard]] H264Encoders &h264() { return m_h264; }
    [[nodiscard]] const H264Encoders &h264() const { return m_h264; }

private:
    struct Entry {
        EncoderProfile profile;
        std::weak_ptr<ProgramEncoder> encoder;
        std::uint64_t pushed = 0; ///< when last seen
        std::uint64_t lost = 0;
        std::uint64_t leftOut = 0;
    };
    [[nodiscard]] std::shared_ptr<ProgramEncoder> make(const EncoderProfile &profile) const;
    [[nodiscard]] bool isTight() const;
    [[nodiscard]] Effort effortNow() const;
    void count(Entry &entry, const ProgramEncoder &encoder);
    void forgetEnded();
    std::weak_ptr<Retirement> m_retirement;
    std::vector<Entry> m_entries;
    std::shared_ptr<PictureConverter> m_converter = std::make_shared<PictureConverter>();
    H264Encoders m_h264;
    Pressure m_pressure;
    std::uint64_t m_pushed = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_leftOut = 0;
    double m_rateShare = 1;
    bool m_hasEnded = false; ///< an encoder, since the last poll
    std::optional<std::int64_t> m_endedNs; ///< what it left is not yet given back
    BackgroundTask<void> m_givesBack;
};

} // namespace nimbara
