#pragma once

#include "compositor/scene/composer.h"

#include <utility>
#include <vector>

namespace nimbara::testing {

constexpr FrameSize shownSize { 320, 180 };

/// A layer with the picture that it shows.
struct PicturedLayer : Layer {
    FramePtr image;

    PicturedLayer(Layer layer = {}, FramePtr picture = {})
        : Layer(std::move(layer))
        , image(std::move(picture))
    {
    }
};

/// The pictures of the layers in their order; camera layers show `camera`.
inline LayerPictures picturesOf(const std::vector<PicturedLayer> &layers, const FramePtr &camera)
{
    LayerPictures pictures;
    for (const PicturedLayer &layer : layers) {
        pictures.push_back(layer.kind == LayerKind::Camera ? camera : layer.image);
    }
    return pictures;
}

/// A composition in the making, to be changed freely.
struct Shown {
    std::vector<PicturedLayer> layers;
    QString name, title;
    bool band = false, isHall = false, isPreview = false;
    FrameSize frame = shownSize;
    FramePtr camera;
    Captions captions;

    operator Composition() const
    {
        const ScenePtr scene = makeScene(name, { layers.begin(), layers.end() });
        const LayerPictures pictures = picturesOf(layers, camera);
        return { scene, pictures, title, band, frame, isHall, isPreview, captions };
    }
};

} // namespace nimbara::testing
