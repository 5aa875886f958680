#include "studio/programs/program_pictures.h"

namespace nimbara {

ProgramPictures::ProgramPictures()
    : m_cache(std::make_shared<PaintCache>())
    , m_preview(m_cache)
    , m_streams(m_cache)
    , m_hall(m_cache)
{
}

QImage ProgramPictures::preview(const Stage &stage, const FramePtr &camera)
{
    const auto &scenes = stage.scenes.scenes(stage.scenes.editing());
    const auto index = static_cast<std::size_t>(stage.scenes.currentIndex(stage.scenes.editing()));
    return m_preview.compose({ index < scenes.size() ? scenes[index] : Scene {},
        stage.title,
        stage.band,
        stage.previewFrame(),
        stage.scenes.editingHall(),
        true,
        camera,
        stage.captions });
}

QImage ProgramPictures::streams(const Stage &stage, const FramePtr &camera)
{
    return m_streams.compose({ stage.program.streams(),
        stage.program.title(),
        stage.program.band(),
        stage.streamFrame(),
        false,
        false,
        camera,
        stage.captions });
}

QImage ProgramPictures::hall(const Stage &stage, const FramePtr &camera)
{
    return m_hall.compose(
        { stage.program.hall(), QString(), false, hallSize, true, false, camera, stage.captions });
}

} // namespace nimbara
