#include "studio/edit/layer_maker.h"

#include "base/i18n.h"
#include "document/scene_ops.h"

#include <QUrl>

namespace nimbara {

using nimbara_i18n::tr;

LayerMaker::LayerMaker(const MediaFactory &factory, Stage &stage, Report status)
    : m_factory(factory)
    , m_stage(stage)
    , m_status(std::move(status))
{
}

std::int32_t LayerMaker::addVideoFile(const QString &path)
{
    // Fully encoded, so that a "#" or "%" in a file's name stays part of its path.
    return addMedia(QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded()));
}

std::int32_t LayerMaker::addMedia(const QString &location)
{
    const std::int32_t place = m_stage.scenes.addLayer(
        videoLayer(location, m_factory.media(m_stage.streamFrame(), location)));
    m_status(
        tr("Video/red preparado en Preparación; pulsa AL AIRE para enviarlo. El audio sale solo "
           "en Programa."));
    return place;
}

std::int32_t LayerMaker::addScreenCapture()
{
    const std::int32_t place
        = m_stage.scenes.addLayer(screenLayer(m_factory.screen(m_stage.streamFrame())));
    m_status(
        tr("Captura de pantalla añadida. macOS puede pedir permiso de Grabación de pantalla."));
    return place;
}

} // namespace nimbara
