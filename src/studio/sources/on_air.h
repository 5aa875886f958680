#pragma once

#include "document/scene.h"
#include "studio/sources/live_scene.h"

namespace nimbara {

/// What the programs on air hold while they show it.
struct OnAir {
    LiveScene streams;
    LiveScene hall;
};

} // namespace nimbara
