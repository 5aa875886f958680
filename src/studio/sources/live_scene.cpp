#include "studio/sources/live_scene.h"

namespace nimbara {

LayerPictures LiveScene::pictures(const CameraPicture &camera) const
{
    LayerPictures pictures(layers.size());
    for (std::size_t index = 0; index < layers.size(); ++index) {
        const Layer &layer = scene->layers[index];
        if (!layer.visible || layer.opacity <= 0) {
            continue; // a source's picture is copied when it is first asked for
        }
        if (layer.kind == LayerKind::Camera) {
            pictures[index] = camera ? camera(layer) : nullptr;
        } else {
            pictures[index]
                = layers[index].source ? layers[index].source->frame() : layers[index].still;
        }
    }
    return pictures;
}

} // namespace nimbara
