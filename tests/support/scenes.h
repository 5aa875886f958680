#pragma once

#include "studio/edit/document.h"
#include "support/contents.h"

#include <utility>
#include <vector>

/// Scenes as tests write them down and look at them.
namespace nimbara::testing {

/// A layer that fills the whole frame with one colour.
inline Layer colorLayer(const QColor &fill)
{
    Layer layer = newLayer(LayerKind::Color);
    layer.fill = fill;
    return layer;
}

/// Replaces the layers of the scene in PREVIEW, through the door.
inline void setLayers(Document &document, const std::vector<Layer> &layers)
{
    std::vector<Edit> edits;
    for (const Layer &layer : document.currentScene()->layers) {
        edits.emplace_back(DeleteLayer { layer.id });
    }
    for (const Layer &layer : layers) {
        edits.emplace_back(AddLayer { document.currentScene()->id, layer });
    }
    if (!edits.empty()) {
        document.apply(edits);
    }
}

/// Appends a layer to the scene in PREVIEW.
inline LayerId addLayer(Document &document, const Layer &layer)
{
    document.apply(AddLayer { document.currentScene()->id, layer });
    return layer.id;
}

} // namespace nimbara::testing
