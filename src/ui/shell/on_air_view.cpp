#include "ui/shell/on_air_view.h"

#include "base/i18n.h"
#include "ui/editor/control_row.h"
#include "ui/editor/scene_tab.h"
#include "ui/editor/scene_tiles.h"
#include "ui/kit/marks.h"
#include "ui/shell/monitors.h"
#include "ui/shell/project_row.h"

#include <QTime>

#include <algorithm>
#include <initializer_list>

namespace nimbara {

namespace {

/// Its layers that can be seen.
void addSeen(const ScenePtr &scene, std::vector<LayerId> &layers)
{
    if (scene == nullptr) {
        return;
    }
    for (const Layer &layer : scene->layers) {
        if (layer.visible) {
            layers.push_back(layer.id);
        }
    }
}

int streamingCount(const StreamDesk &streams)
{
    int count = 0;
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        count += streams.isOnAir(slot) ? 1 : 0;
    }
    return count;
}

/// "0:12:34"
QString hoursOf(qint64 ms)
{
    const qint64 seconds = ms / 1000;
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

OnAirView::OnAirView(Studio &studio, QWidget &window, Views views)
    : m_studio(studio)
    , m_window(window)
    , m_views(views)
{
    connect(&m_studio.document(), &Document::changed, this, &OnAirView::followDocument);
    followOutputs();
    showTime();
    markScenes();
}

void OnAirView::follow()
{
    const ProgramState &program = m_studio.stage().program;
    if (program.streams() == m_streams && program.hall() == m_hall) {
        return;
    }
    m_streams = program.streams();
    m_hall = program.hall();
    m_views.monitors.showOnAir(SceneSet::Streams, m_streams.get());
    m_views.monitors.showOnAir(SceneSet::Hall, m_hall.get());
    markScenes();
    markLayers();
}

void OnAirView::followDocument(const Change &change)
{
    if (change.everything || change.scenes || change.current) {
        markScenes();
    }
}

void OnAirView::markScenes()
{
    const Scenes &scenes = m_studio.document().editedScenes();
    const ScenePtr &onAir = m_studio.document().editingHall() ? m_hall : m_streams;
    const auto found = std::find_if(scenes.begin(), scenes.end(), [&onAir](const ScenePtr &scene) {
        return onAir != nullptr && scene->id == onAir->id;
    });
    m_views.controls.showOnAir(
        found == scenes.end() ? -1 : static_cast<int>(found - scenes.begin()));
    m_views.tiles.showOnAir(onAir == nullptr ? SceneId() : onAir->id);
    m_views.monitors.showPreview(m_studio.document().currentScene()->name);
}

void OnAirView::markLayers()
{
    std::vector<LayerId> layers;
    addSeen(m_streams, layers);
    addSeen(m_hall, layers);
    m_views.tab.showOnAir(std::move(layers), *m_studio.document().currentScene());
}

void OnAirView::followOutputs()
{
    const int streaming = streamingCount(m_studio.streams());
    const RecordingDesk &recordings = m_studio.recordings();
    QStringList parts;
    if (streaming > 0) {
        parts << QStringLiteral("● ") + nimbara_i18n::tr("EN VIVO (%1)").arg(streaming);
    }
    if (recordings.isActive()) {
        const char *doing = recordings.isWriting() ? "GRABANDO"
            : recordings.isOpening()               ? "ABRIENDO LA GRABACIÓN"
                                                   : "GRABACIÓN EN PAUSA";
        parts << QStringLiteral("■ ") + nimbara_i18n::tr(doing);
    }
    const QString outputs = parts.join(QStringLiteral(" · "));
    if (outputs == m_outputs && !m_window.windowTitle().isEmpty()) {
        return; // on every frame
    }
    m_outputs = outputs;
    const QString title = nimbara_i18n::tr("Vesperline · Ardenvale") + QStringLiteral("[*]");
    m_window.setWindowTitle(outputs.isEmpty() ? title : outputs + QStringLiteral(" — ") + title);
    m_window.setWindowIcon(programIcon(streaming > 0, recordings.isActive()));
}

bool OnAirView::isOnAir() const
{
    return m_streams != nullptr || m_hall != nullptr || m_studio.hasOutputs();
}

void OnAirView::showTime()
{
    if (!isOnAir()) {
        m_service.invalidate();
    } else if (!m_service.isValid()) {
        m_service.start();
    }
    m_views.project.showTime(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")),
        m_service.isValid() ? hoursOf(m_service.elapsed()) : QString());
}

} // namespace nimbara
