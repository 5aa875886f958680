#pragma once

#include "document/edits.h"
#include "document/scene.h"

#include <vector>

/// What is done with several layers at once, as the edits of one step. Pure functions on values;
/// what a list of layers names and is not in the scene does not count.
namespace nimbara {

using LayerIds = std::vector<LayerId>;

/// The layers of the list as they are, rear layer first.
std::vector<Layer> layersOf(const Scene &scene, const LayerIds &ids);

/// Deletes them.
std::vector<Edit> removed(const LayerIds &ids);

/// Sets a field that is on or off: on for all, unless it is on for all already.
std::vector<Edit> switched(const Scene &scene, const LayerIds &ids, LayerField field);

/// Sets a field of all to the same value.
std::vector<Edit> setAll(const LayerIds &ids, LayerField field, const FieldValue &value);

/// Moves each one place to the front (1) or the rear (−1). Those that stand at the end stay, and
/// those that stand behind them close up.
std::vector<Edit> shifted(const Scene &scene, const LayerIds &ids, int delta);

/// Copies of layers, in front of all of the scene and in their order. They play the same sources.
struct LayerCopies {
    std::vector<Edit> edits;
    LayerIds made;
    bool leftOut = false; ///< a subtitle layer, of which the scene has one
};
LayerCopies copiedTo(const Scene &scene, std::vector<Layer> layers);

} // namespace nimbara
