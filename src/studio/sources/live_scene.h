#pragma once

#include "compositor/scene/composer.h"
#include "document/scene.h"
#include "media/sources/media.h"

#include <functional>
#include <vector>

namespace nimbara {

/// What one layer shows, held: its decoded picture or its open source.
struct LiveLayer {
    FramePtr still;
    MediaPtr source;
};

/// What a camera layer shows at this moment; none: nothing.
using CameraPicture = std::function<FramePtr(const Layer &layer)>;

/// A scene with what its layers show. A program on air holds one, taken at TAKE: another picture or
/// source for the prepared layer does not reach it. Only a picture that was not there yet does.
struct LiveScene {
    ScenePtr scene; ///< none: black
    std::vector<LiveLayer> layers; ///< of the scene's layers, in their order

    /// The pictures of this moment.
    [[nodiscard]] LayerPictures pictures(const CameraPicture &camera) const;
};

} // namespace nimbara
