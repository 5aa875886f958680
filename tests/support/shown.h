#pragma once

#include "compositor/scene/composer.h"

#include <cstdlib>
#include <utility>
#include <vector>

namespace nimbara::testing {

constexpr FrameSize shownSize { 320, 180 };

/// Whether each channel is within some steps: fades and scaling round.
inline bool isNear(const QColor &a, const QColor &b, int steps = 2)
{
    return std::abs(a.red() - b.red()) <= steps && std::abs(a.green() - b.green()) <= steps
        && std::abs(a.blue() - b.blue()) <= steps;
}

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
