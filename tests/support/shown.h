#pragma once

#include "compositor/scene/composer.h"

#include <utility>
#include <vector>

namespace nimbara::testing {

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
    struct {
        QString name;
        std::vector<PicturedLayer> layers;
    } scene;
    QString title;
    bool band = false;
    FrameSize size;
    bool isHall = false;
    bool isPreview = false;
    FramePtr camera;
    Captions captions;

    operator Composition() const
    {
        return { makeScene(scene.name, { scene.layers.begin(), scene.layers.end() }),
            picturesOf(scene.layers, camera),
            title,
            band,
            size,
            isHall,
            isPreview,
            captions };
    }
};

} // namespace nimbara::testing
