#include "studio/projects/layer_maker.h"

#include "base/error.h"

#include <QUrl>

namespace nimbara {

LayerMaker::LayerMaker(const MediaFactory &factory, Stage &stage, Sources &sources, Report status)
    : m_factory(factory)
    , m_stage(stage)
    , m_sources(sources)
    , m_status(std::move(status))
{
}

LayerId LayerMaker::add(const Layer &layer, MediaPtr source)
{
    m_sources.pool().put(layer, std::move(source));
    m_stage.document.apply(AddLayer { m_stage.document.currentScene()->id, layer });
    return layer.id;
}

LayerId LayerMaker::addVideoFile(const QString &path)
{
    // Fully encoded, so that a "#" or "%" in a file's name stays part of its path.
    return addMedia(QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded()));
}

LayerId LayerMaker::addMedia(const QString &location)
{
    const QString checked = m_sources.logins().takeOut(checkedMediaLocation(location));
    m_sources.logins().askAnew(checked);
    const LayerId id = add(videoLayer(checked), m_factory.media(m_stage.streamFrame(), checked));
    m_status(
        "Video/red preparado en Preparación; pulsa AL AIRE para enviarlo. El audio sale solo en "
        "Programa.");
    return id;
}

LayerId LayerMaker::addScreenCapture()
{
    ScreenPortal &portal = m_sources.screen();
    if (!portal.trouble().isEmpty()) {
        portal.want(); // it may have come meanwhile
        throw Error("Captura de pantalla no disponible: " + portal.trouble());
    }
    const LayerId id = add(newLayer(LayerKind::Screen), m_factory.screen(m_stage.streamFrame()));
    portal.want();
    m_status(portal.isNeeded()
            ? "Captura de pantalla añadida. El escritorio pregunta qué compartir."
            : "Captura de pantalla añadida. macOS puede pedir permiso de Grabación de pantalla.");
    return id;
}

void LayerMaker::restart(LayerId layer)
{
    if (const Layer *video = findLayer(m_stage.document.scenes(), layer)) {
        m_sources.logins().askAnew(video->uri);
        m_sources.pool().put(*video,
            m_factory.media(m_stage.streamFrame(), video->uri, video->latency));
    }
}

} // namespace nimbara
