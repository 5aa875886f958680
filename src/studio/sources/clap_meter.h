#pragma once

#include "base/message.h"
#include "signal/frame.h"

#include <QObject>

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace nimbara {

/// Measures how much earlier the sound of a clap is on the program than its picture. The sound is
/// found by its sudden beginning, the picture by its largest change nearby; a flash of light that
/// goes with the sound is found better than two hands. Interface thread only.
class ClapMeter : public QObject {
    Q_OBJECT
public:
    static constexpr std::size_t wanted = 3; ///< claps; their median counts
    static constexpr std::int64_t reachUs = 2'100'000; ///< between a clap's sound and its picture
    static constexpr std::int64_t patienceUs = 40'000'000; ///< for all claps

    void begin();
    void cancel() { m_isUnderWay = false; }
    [[nodiscard]] bool isUnderWay() const { return m_isUnderWay; }

    /// What the program shows and plays from `timeUs` on: the camera's picture, or none, and the
    /// interleaved sound of one frame period. Does nothing while nothing is measured.
    void look(std::int64_t timeUs, const FramePtr &picture, std::span<const float> sound);

Q_SIGNALS:
    /// How it comes along, for the operator.
    void told(const nimbara::Message &text);
    /// The sound is early by so many ms (late: below 0), or it could not be measured.
    void measured(std::optional<int> earlyMs);

private:
    /// How much a picture differs from the one before, 0 to 255.
    struct Change {
        std::int64_t timeUs;
        double size;
    };

    void lookAt(std::int64_t timeUs, const FramePtr &picture);
    void listen(std::int64_t timeUs, std::span<const float> sound);
    [[nodiscard]] std::optional<std::int64_t> pictureNear(std::int64_t soundUs) const;
    void match();
    void finish();

    bool m_isUnderWay = false;
    std::optional<std::int64_t> m_begunUs;
    std::int64_t m_nowUs = 0;
    FramePtr m_shown;
    std::vector<std::uint8_t> m_grid; ///< brightness of the picture before
    std::deque<Change> m_changes; ///< of the last moments
    double m_quiet = 0.0; ///< level of the sound between claps
    std::optional<std::int64_t> m_heardUs; ///< a clap whose picture is not looked for yet
    std::vector<std::int64_t> m_earlyUs; ///< of each clap
};

} // namespace nimbara
