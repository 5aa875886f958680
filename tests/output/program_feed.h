#pragma once

#include "output/mix/program_audio.h"
#include "signal/frame.h"

#include <QThread>

#include <cmath>
#include <memory>
#include <numbers>

namespace nimbara::testing {

/// What one frame tick gives to the outputs.
struct Tick {
    FramePtr frame;
    ProgramBlock block {};
    std::int64_t tNs = 0;
};

/// The program of a test: a picture that changes with every tick, and a tone.
///
/// Outputs let the oldest data go when they are full. A test that wants every picture to arrive
/// calls `wait` after each tick: the program then runs as fast as the encoders, and never faster.
class ProgramFeed {
public:
    explicit ProgramFeed(FrameSize size, bool still = false)
        : m_size(size)
        , m_still(still)
    {
    }

    Tick next()
    {
        auto frame = std::make_shared<Frame>(m_size.width, m_size.height);
        for (std::size_t i = 0; !m_still && i < frame->pixels.size(); i += 4) {
            frame->pixels[i]
                = static_cast<std::uint8_t>(i / 16 + static_cast<std::size_t>(m_count) * 4);
            frame->pixels[i + 1] = static_cast<std::uint8_t>(i / 4096);
        }
        m_last = frame;
        Tick tick { std::move(frame), {}, m_tNs };
        for (std::size_t i = 0; i < tick.block.size();
             i += 2, m_phase += 2 * std::numbers::pi / 100) {
            tick.block[i] = tick.block[i + 1] = static_cast<float>(0.3 * std::sin(m_phase));
        }
        m_tNs += 33'333'000;
        ++m_count;
        return tick;
    }

    /// Waits until every output has read the last picture. False after 20 s.
    [[nodiscard]] bool wait() const
    {
        for (int ms = 0; ms < 20000 && !m_last.expired(); ++ms) {
            QThread::msleep(1);
        }
        return m_last.expired();
    }

    /// Leaves frame slots out, as after a stall.
    void skip(std::int64_t ns) { m_tNs += ns; }

    [[nodiscard]] int count() const { return m_count; }

private:
    FrameSize m_size;
    bool m_still;
    double m_phase = 0;
    std::int64_t m_tNs = 5'000'000'000; // the outputs measure from their own first tick
    int m_count = 0;
    std::weak_ptr<const Frame> m_last;
};

} // namespace nimbara::testing
