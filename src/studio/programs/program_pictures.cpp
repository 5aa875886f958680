#include "studio/programs/program_pictures.h"

namespace nimbara {

namespace {

Composition streamComposition(const Stage &stage,
    const LiveScene &scene,
    const CameraPicture &camera,
    const QString &title,
    bool band)
{
    return { scene.scene,
        scene.pictures(camera),
        title,
        band,
        stage.streamFrame(),
        false,
        false,
        stage.captions,
        stage.clocks };
}

Composition hallComposition(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return { scene.scene,
        scene.pictures(camera),
        QString(),
        false,
        hallSize,
        true,
        false,
        stage.captions,
        stage.clocks };
}

} // namespace

ProgramPictures::ProgramPictures(std::shared_ptr<VersePager> pager)
    : m_cache(std::make_shared<PaintCache>(std::move(pager)))
    , m_preview(m_cache)
    , m_streams(m_cache)
    , m_hall(m_cache)
    , m_left { Composer(m_cache), Composer(m_cache) }
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
        stage.captions,
        stage.clocks });
}

QImage
ProgramPictures::streams(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return m_streams.compose(
        streamComposition(stage, scene, camera, stage.program.title(), stage.program.band()));
}

QImage
ProgramPictures::hall(const Stage &stage, const LiveScene &scene, const CameraPicture &camera)
{
    return m_hall.compose(hallComposition(stage, scene, camera));
}

QImage ProgramPictures::left(const Stage &stage,
    SceneSet set,
    const LiveScene &scene,
    const CameraPicture &camera)
{
    if (set == SceneSet::Hall) {
        return m_left[1].compose(hallComposition(stage, scene, camera));
    }
    const ProgramState &program = stage.program;
    return m_left[0].compose(
        streamComposition(stage, scene, camera, program.leftTitle(), program.leftBand()));
}

void ProgramPictures::forgetLeft(SceneSet set)
{
    m_left.at(static_cast<std::size_t>(set)) = Composer(m_cache);
}

} // namespace nimbara
