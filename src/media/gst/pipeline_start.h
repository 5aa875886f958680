#pragma once

#include "media/gst/gst_handles.h"

#include <chrono>
#include <future>

namespace nimbara {

/// Changes the state of a source's pipeline without making the interface thread wait.
///
/// Opening one may block: a camera service takes a tenth of a second, and half a minute for a
/// device that has just gone away; a file's network share may never answer. So the change runs on a
/// background task; the caller waits for a moment only, which is enough to learn that a device
/// refuses at once.
///
/// One thread. The pipeline may be let go of at any time, but must not be stopped before this is
/// destroyed, which waits for the change to come back.
class PipelineStart {
public:
    enum class Outcome {
        Underway, ///< not known yet
        Accepted, ///< the pipeline is in the state, or on its way there
        Refused,
    };

    /// A device that refuses within it refuses at once; the frame clock is not held up.
    static constexpr std::chrono::milliseconds deviceMoment { 5 };
    /// For what starts by the dozen, as the clips of a project do.
    static constexpr std::chrono::milliseconds mediaMoment { 3 };

    /// Begins the change and waits for it for at most the moment. The change before must have come
    /// back.
    Outcome begin(const Pipeline &pipeline, GstState state, std::chrono::milliseconds moment);

    /// The outcome so far. Never waits.
    Outcome poll();

private:
    std::future<bool> m_change;
    Outcome m_outcome = Outcome::Accepted;
};

} // namespace nimbara
