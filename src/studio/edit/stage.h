#pragma once

#include "compositor/scene/captions.h"
#include "compositor/scene/program_state.h"
#include "compositor/scene/verse_pager.h"
#include "document/profile.h"
#include "studio/edit/countdowns.h"
#include "studio/edit/document.h"
#include "studio/edit/field_trial.h"

#include <cstdint>
#include <memory>

namespace nimbara {

/// What stands on the operator's desk: the project being prepared, what is on air, and the captions
/// that both show, and how far the countdowns are. Interface thread only.
struct Stage {
    Document document;
    FieldTrial trial;
    ProgramState program;
    Captions captions;
    /// How verses are split, worked out once for the pictures and whoever steps through them.
    std::shared_ptr<VersePager> pager = std::make_shared<VersePager>();
    Countdowns countdowns;
    ClockReading clocks; ///< of the frame being made
    std::uint64_t sent = 0; ///< how often the operator sent a scene, or black, to a program

    explicit Stage(const Clock &clock)
        : document(clock)
        , countdowns(clock)
    {
    }
    [[nodiscard]] FrameSize streamFrame() const { return streamSize(document.project().profile); }
    /// The size of the set's program.
    [[nodiscard]] FrameSize frameOf(SceneSet set) const
    {
        return set == SceneSet::Hall ? hallSize : streamFrame();
    }
    /// The scene in PREVIEW, with what is only tried there.
    [[nodiscard]] const ScenePtr &previewed()
    {
        return trial.on(document.scenes(), document.currentScene());
    }
    /// The size of the set that PREVIEW edits.
    [[nodiscard]] FrameSize previewFrame() const { return frameOf(document.editing()); }
};

} // namespace nimbara
