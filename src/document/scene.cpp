#include "document/scene.h"

#include "base/error.h"
#include "base/i18n.h"

#include <algorithm>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

Scene defaultHallScene()
{
    Layer background;
    background.kind = LayerKind::Color;
    background.name = tr("Fondo");
    background.fill = QColor(8, 24, 48);

    Layer subtitles;
    subtitles.kind = LayerKind::Subtitle;
    subtitles.name = tr("Subtítulos (IA)");
    subtitles.x = 0.05;
    subtitles.y = 0.08;
    subtitles.w = 0.9;
    subtitles.h = 0.84;
    subtitles.size = 72;
    subtitles.align = align::left | align::top;
    subtitles.background = QColor(0, 0, 0, 0);
    return { tr("Escena 1"), { background, subtitles } };
}

} // namespace

Scene defaultScene(bool isHall)
{
    if (isHall) {
        return defaultHallScene();
    }
    Layer camera;
    camera.name = tr("Cámara");
    return { tr("Escena 1"), { camera } };
}

bool hasSubtitle(const Scene &scene)
{
    return std::any_of(scene.layers.begin(), scene.layers.end(), [](const Layer &layer) {
        return layer.kind == LayerKind::Subtitle;
    });
}

std::int32_t addLayer(Scene &scene, Layer layer)
{
    if (layer.kind == LayerKind::Subtitle && hasSubtitle(scene)) {
        throw Error(QStringLiteral("Esta escena ya tiene una fuente de subtítulos."));
    }
    const auto place = static_cast<std::int32_t>(scene.layers.size());
    if (layer.name.isEmpty()) {
        layer.name = displayName(layer.kind) + QLatin1Char(' ') + QString::number(place + 1);
    }
    scene.layers.push_back(std::move(layer));
    return place;
}

std::vector<Scene> &SceneSets::scenes(SceneSet which)
{
    return set(which).scenes;
}

const std::vector<Scene> &SceneSets::scenes(SceneSet which) const
{
    return set(which).scenes;
}

std::int32_t SceneSets::currentIndex(SceneSet which) const
{
    return set(which).current;
}

void SceneSets::setCurrentIndex(SceneSet which, std::int32_t index)
{
    set(which).current = index;
}

Scene &SceneSets::currentScene()
{
    Set &edited = set(m_editing);
    if (edited.scenes.empty()) {
        edited.scenes.push_back(defaultScene(editingHall()));
        edited.current = 0;
    }
    const auto last = static_cast<std::int32_t>(edited.scenes.size()) - 1;
    edited.current = std::clamp(edited.current, 0, last);
    return edited.scenes[static_cast<std::size_t>(edited.current)];
}

std::int32_t SceneSets::addLayer(Layer layer)
{
    return nimbara::addLayer(currentScene(), std::move(layer));
}

} // namespace nimbara
