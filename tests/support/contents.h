#pragma once

#include "document/scene.h"

#include <memory>
#include <vector>

namespace nimbara::testing {

/// The scenes' values without what tells two equal ones apart.
inline std::vector<Scene> contents(const Scenes &scenes)
{
    std::vector<Scene> all;
    for (const ScenePtr &scene : scenes) {
        Scene &plain = all.emplace_back(*scene);
        plain.id = {};
        for (Layer &layer : plain.layers) {
            layer.id = {};
            layer.source = {};
        }
    }
    return all;
}
inline std::vector<Scene> contents(const Scene &scene)
{
    return contents(Scenes { std::make_shared<const Scene>(scene) });
}

} // namespace nimbara::testing
