#pragma once

#include "base/clock.h"
#include "compositor/scene/clock_text.h"
#include "document/layer.h"

#include <cstdint>
#include <map>
#include <optional>

namespace nimbara {

/// The countdowns that the operator starts, pauses and puts back. They are no part of the project:
/// no edit, undo or TAKE touches how far one is. Layers that share a source, such as the copy of
/// one in the hall's scene and the one on air, share its countdown, each with its own length.
/// Interface thread only.
class Countdowns {
public:
    /// `clock` must outlive it.
    explicit Countdowns(const Clock &clock)
        : m_clock(clock)
    {
    }

    /// Starts or pauses it; one that has run out begins anew.
    void toggle(const Layer &layer);
    /// At its whole length again, standing.
    void reset(SourceId source) { m_runs.erase(source); }
    /// Another project.
    void clear() { m_runs.clear(); }
    /// It moves now.
    [[nodiscard]] bool isRunning(const Layer &layer) const;

    /// What clock layers go by at this moment.
    [[nodiscard]] ClockReading reading() const;

private:
    struct Run {
        std::int64_t beforeUs = 0; ///< until it was paused last
        std::optional<std::int64_t> sinceUs; ///< when it was started last; none: it is paused
    };
    [[nodiscard]] std::int64_t elapsedUs(const Run &run) const;

    const Clock &m_clock;
    std::map<SourceId, Run> m_runs;
};

} // namespace nimbara
