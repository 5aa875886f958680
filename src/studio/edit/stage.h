#pragma once

#include "compositor/scene/captions.h"
#include "compositor/scene/program_state.h"
#include "document/profile.h"
#include "document/scene.h"

#include <QString>

#include <cstdint>

namespace nimbara {

/// What stands on the operator's desk: the scenes being prepared, what is on air, and the controls
/// that both read. Interface thread only.
struct Stage {
    SceneSets scenes;
    ProgramState program;
    StreamProfile profile = StreamProfile::Landscape;
    QString title; ///< the lower-third field as it stands now
    bool band = false; ///< the band switch as it stands now
    Captions captions;
    std::uint64_t projects = 0; ///< opened so far; the scenes are others after each

    [[nodiscard]] FrameSize streamFrame() const { return streamSize(profile); }
    /// The size of the set that PREVIEW edits.
    [[nodiscard]] FrameSize previewFrame() const
    {
        return scenes.editingHall() ? hallSize : streamFrame();
    }
};

} // namespace nimbara
