#pragma once

#include "document/edits.h"

#include <optional>

namespace nimbara {

/// A value that the operator only looks at, such as a font of an open list: PREVIEW shows the layer
/// with it. It is no edit: undo, TAKE, the programs and the copies of the work know nothing of it.
/// Interface thread only.
class FieldTrial {
public:
    /// In place of the one before.
    void show(SetField edit);
    void end();

    /// The scene, one of `scenes`, as PREVIEW shows it: itself where the trial has no part in it,
    /// and the very same other one for as long as neither changes.
    [[nodiscard]] const ScenePtr &on(const SceneSets &scenes, const ScenePtr &scene);

private:
    std::optional<SetField> m_edit;
    ScenePtr m_of; ///< what `m_shown` was made of; none: it has to be made
    ScenePtr m_shown;
};

} // namespace nimbara
