#pragma once

#include "document/scene.h"
#include "studio/sources/live_scene.h"

#include <array>

namespace nimbara {

/// What the programs on air hold while they show it.
struct OnAir {
    LiveScene streams;
    LiveScene hall;
    std::array<LiveScene, 2> left {}; ///< what a transition that runs comes from, of either set

    [[nodiscard]] LiveScene &leftOf(SceneSet set) { return left.at(static_cast<std::size_t>(set)); }
    /// Whatever anyone sees.
    [[nodiscard]] std::array<const LiveScene *, 4> seen() const
    {
        return { &streams, &hall, &left[0], &left[1] };
    }
};

} // namespace nimbara
