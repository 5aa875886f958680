#pragma once

#include "document/layer_group.h"

#include <cstddef>
#include <utility>

namespace nimbara {

/// The layers that the operator has selected, by their ids, wherever they stand. The one that was
/// selected last is the current one. It belongs to the window: no edit knows of it.
class LayerSelection {
public:
    LayerSelection() = default;
    explicit LayerSelection(LayerId layer)
    {
        if (layer) {
            m_layers.push_back(layer);
        }
    }
    /// The last one is current.
    explicit LayerSelection(LayerIds layers)
        : m_layers(std::move(layers))
    {
    }

    [[nodiscard]] LayerId current() const { return m_layers.empty() ? LayerId() : m_layers.back(); }
    [[nodiscard]] const LayerIds &layers() const { return m_layers; }
    [[nodiscard]] std::size_t size() const { return m_layers.size(); }
    [[nodiscard]] bool contains(LayerId layer) const;

    /// With the layer as the current one, or without it.
    [[nodiscard]] LayerSelection toggled(LayerId layer) const;
    /// With those as well.
    [[nodiscard]] LayerSelection with(const LayerIds &layers) const;
    /// Without those that the scene has not.
    [[nodiscard]] LayerSelection in(const Scene &scene) const;
    /// All of these, when the layer is one of them; else the layer alone.
    [[nodiscard]] LayerIds withAll(LayerId layer) const;

    bool operator==(const LayerSelection &) const = default;

private:
    LayerIds m_layers; ///< each once
};

} // namespace nimbara
