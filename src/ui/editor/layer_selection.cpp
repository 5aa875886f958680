#include "ui/editor/layer_selection.h"

#include <algorithm>

namespace nimbara {

bool LayerSelection::contains(LayerId layer) const
{
    return std::find(m_layers.begin(), m_layers.end(), layer) != m_layers.end();
}

LayerSelection LayerSelection::toggled(LayerId layer) const
{
    LayerIds layers = m_layers;
    if (std::erase(layers, layer) == 0) {
        layers.push_back(layer);
    }
    return LayerSelection(std::move(layers));
}

LayerSelection LayerSelection::with(const LayerIds &layers) const
{
    LayerSelection all = *this;
    for (const LayerId layer : layers) {
        if (!contains(layer)) {
            all.m_layers.push_back(layer);
        }
    }
    return all;
}

LayerSelection LayerSelection::in(const Scene &scene) const
{
    LayerIds layers = m_layers;
    std::erase_if(layers, [&scene](LayerId layer) { return findLayer(scene, layer) == nullptr; });
    return LayerSelection(std::move(layers));
}

LayerIds LayerSelection::withAll(LayerId layer) const
{
    return contains(layer) ? m_layers : LayerIds { layer };
}

} // namespace nimbara
