#pragma once

#include "output/sink/destination.h"
#include "output/sink/recording.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// The bank of the recording and the four destinations: one push per frame tick feeds them all with
/// the same picture and the same sound. Interface thread only.
class Outputs {
public:
    /// What stopped by itself in one push. The slots are idle again.
    struct Stopped {
        std::optional<Message> recording; ///< status to show
        std::vector<std::size_t> destinations; ///< slots 0..3; each tells why in `statusText`
    };

    explicit Outputs(const std::shared_ptr<Retirement> &retirement);

    /// One tick: the recording first, then destinations 1 to 4. `block`: the program audio block.
    /// `tNs`: the tick's scheduled frame time from the fixed clock origin.
    Stopped push(const FramePtr &frame, std::span<const float> block, std::int64_t tNs);

    /// Instead, on a tick at which there is nothing to push to.
    void rest(std::int64_t tNs);

    /// The recording or a destination exists: pushing is worth a picture, and the profile, the
    /// project and the language must stay as they are.
    [[nodiscard]] bool any() const;

    /// Stops every destination and resets its status; the recording goes on.
    void stopStreams();

    [[nodiscard]] EncoderPool &encoders() { return m_encoders; }
    [[nodiscard]] const EncoderPool &encoders() const { return m_encoders; }
    [[nodiscard]] Recording &recording() { return m_recording; }
    [[nodiscard]] const Recording &recording() const { return m_recording; }
    /// `slot` 0..3.
    [[nodiscard]] Destination &destination(std::size_t slot) { return *m_destinations.at(slot); }
    [[nodiscard]] const Destination &destination(std::size_t slot) const
    {
        return *m_destinations.at(slot);
    }

private:
    EncoderPool m_encoders;
    Recording m_recording;
    std::array<std::unique_ptr<Destination>, destinationCount> m_destinations;
};

} // namespace nimbara
