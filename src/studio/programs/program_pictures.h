#pragma once

#include "compositor/scene/composer.h"
#include "studio/edit/stage.h"
#include "studio/sources/on_air.h"

#include <QImage>

#include <array>
#include <memory>

namespace nimbara {

/// The three pictures of one frame. Opaque RGBA; handed out pictures never change afterwards.
struct Pictures {
    QImage preview;
    QImage streams;
    QImage hall;
};

/// Composes PREVIEW and both programs from the stage. Interface thread only.
class ProgramPictures {
public:
    /// `pager`: shared with whoever asks for the pages of verses as well.
    explicit ProgramPictures(std::shared_ptr<VersePager> pager = std::make_shared<VersePager>());

    /// `scene`: the one in PREVIEW. `camera`: tells what camera layers show.
    [[nodiscard]] QImage
    preview(const Stage &stage, const LiveScene &scene, const CameraPicture &camera);
    /// The stream program without a transition that runs.
    [[nodiscard]] QImage
    streams(const Stage &stage, const LiveScene &scene, const CameraPicture &camera);
    /// The scene that the set's program leaves, as `streams` and `hall` show theirs.
    [[nodiscard]] QImage
    left(const Stage &stage, SceneSet set, const LiveScene &scene, const CameraPicture &camera);
    /// It is out of sight.
    void forgetLeft(SceneSet set);
    [[nodiscard]] QImage
    hall(const Stage &stage, const LiveScene &scene, const CameraPicture &camera);

private:
    std::shared_ptr<PaintCache> m_cache;
    Composer m_preview;
    Composer m_streams;
    Composer m_hall;
    std::array<Composer, 2> m_left; ///< of either set
};

} // namespace nimbara
