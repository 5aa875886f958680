#include "document/scene.h"

#include "base/i18n.h"

#include <algorithm>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

Scene named(const QString &name, std::vector<Layer> layers)
{
    Scene scene;
    scene.name = name;
    scene.layers = std::move(layers);
    return scene;
}

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
    return named(tr("Escena 1"), { background, subtitles });
}

} // namespace

ScenePtr makeScene(const QString &name, std::vector<Layer> layers)
{
    return std::make_shared<const Scene>(named(name, std::move(layers)));
}

std::optional<ScenePlace> placeOf(const SceneSets &scenes, SceneId id)
{
    for (const SceneSet set : bothSets) {
        const Scenes &all = scenes.of(set);
        const auto found = std::find_if(all.begin(), all.end(), [id](const ScenePtr &scene) {
            return scene->id == id;
        });
        if (found != all.end()) {
            return ScenePlace { set, static_cast<std::size_t>(found - all.begin()) };
        }
    }
    return std::nullopt;
}

std::optional<LayerPlace> placeOf(const SceneSets &scenes, LayerId id)
{
    for (const SceneSet set : bothSets) {
        const Scenes &all = scenes.of(set);
        for (std::size_t scene = 0; scene < all.size(); ++scene) {
            if (const Layer *layer = findLayer(*all[scene], id)) {
                return LayerPlace { set,
                    scene,
                    static_cast<std::size_t>(layer - all[scene]->layers.data()) };
            }
        }
    }
    return std::nullopt;
}

const Layer *findLayer(const Scene &scene, LayerId id)
{
    const auto found = std::find_if(scene.layers.begin(),
        scene.layers.end(),
        [id](const Layer &layer) { return layer.id == id; });
    return found == scene.layers.end() ? nullptr : &*found;
}

const Layer *findLayer(const SceneSets &scenes, LayerId id)
{
    const auto place = placeOf(scenes, id);
    return place ? &scenes.of(place->set)[place->scene]->layers[place->layer] : nullptr;
}

const TextStyle *findStyle(const SceneSets &scenes, const QString &name)
{
    const auto found = std::find_if(scenes.styles.begin(),
        scenes.styles.end(),
        [&name](const TextStyle &style) { return style.name == name; });
    return found == scenes.styles.end() ? nullptr : &*found;
}

Scene defaultScene(bool isHall)
{
    if (isHall) {
        return defaultHallScene();
    }
    Layer camera;
    camera.name = tr("Cámara");
    return named(tr("Escena 1"), { camera });
}

bool hasSubtitle(const Scene &scene)
{
    return std::any_of(scene.layers.begin(), scene.layers.end(), [](const Layer &layer) {
        return layer.kind == LayerKind::Subtitle;
    });
}

} // namespace nimbara
