#include "studio/programs/program_pictures.h"

namespace nimbara {

ProgramPictures::ProgramPictures(std::shared_ptr<VersePager> pager)
    : m_cache(std::make_shared<PaintCache>(std::move(pager)))
    , m_preview(m_cache)
    , m_streams(m_cache)
    , m_hall(m_cache)
{
}

QImage
ProgramPictures::preview(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return m_preview.compose({ scene.scene,
        scene.pictures(camera),
        stage.document.project().title,
        stage.document.project().band,
        stage.previewFrame(),
        stage.document.editingHall(),
        true,
        stage.captions });
}

QImage
ProgramPictures::streams(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return m_streams.compose({ scene.scene,
        scene.pictures(camera),
        stage.program.title(),
        stage.program.band(),
        stage.streamFrame(),
        false,
        false,
        stage.captions });
}

QImage
ProgramPictures::hall(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return m_hall.compose({ scene.scene,
        scene.pictures(camera),
        QString(),
        false,
        hallSize,
        true,
        false,
        stage.captions });
}

} // namespace nimbara
