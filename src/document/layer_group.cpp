#include "document/layer_group.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace nimbara {

namespace {

bool contains(const LayerIds &ids, LayerId layer)
{
    return std::find(ids.begin(), ids.end(), layer) != ids.end();
}

} // namespace

std::vector<Layer> layersOf(const Scene &scene, const LayerIds &ids)
{
    std::vector<Layer> found;
    std::copy_if(scene.layers.begin(),
        scene.layers.end(),
        std::back_inserter(found),
        [&ids](const Layer &layer) { return contains(ids, layer.id); });
    return found;
}

std::vector<Edit> removed(const LayerIds &ids)
{
    std::vector<Edit> edits;
    for (const LayerId layer : ids) {
        edits.emplace_back(DeleteLayer { layer });
    }
    return edits;
}

std::vector<Edit> setAll(const LayerIds &ids, LayerField field, const FieldValue &value)
{
    std::vector<Edit> edits;
    for (const LayerId layer : ids) {
        edits.emplace_back(SetField { layer, field, value });
    }
    return edits;
}

std::vector<Edit> switched(const Scene &scene, const LayerIds &ids, LayerField field)
{
    const std::vector<Layer> layers = layersOf(scene, ids);
    const bool areOn = std::all_of(layers.begin(), layers.end(), [field](const Layer &layer) {
        return fieldOf(layer, field) == FieldValue(true);
    });
    return setAll(ids, field, !areOn);
}

std::vector<Edit> shifted(const Scene &scene, const LayerIds &ids, int delta)
{
    LayerIds order; // what moves comes after what it moves past
    for (const Layer &layer : scene.layers) {
        order.push_back(layer.id);
    }
    if (delta < 0) {
        std::reverse(order.begin(), order.end());
    }
    std::vector<Edit> edits;
    for (std::size_t place = order.size(); place-- > 0;) {
        const std::size_t next = place + 1;
        if (contains(ids, order[place]) && next < order.size() && !contains(ids, order[next])) {
            edits.emplace_back(MoveLayer { order[place], delta });
            std::swap(order[place], order[next]);
        }
    }
    return edits;
}

LayerCopies copiedTo(const Scene &scene, std::vector<Layer> layers)
{
    LayerCopies copies;
    bool isTaken = hasSubtitle(scene);
    for (Layer &layer : layers) {
        const bool isSubtitle = layer.kind == LayerKind::Subtitle;
        if (isSubtitle && isTaken) {
            copies.leftOut = true;
            continue;
        }
        isTaken = isTaken || isSubtitle;
        layer.id = LayerId::make();
        copies.made.push_back(layer.id);
        copies.edits.emplace_back(AddLayer { scene.id, std::move(layer) });
    }
    return copies;
}

} // namespace nimbara
