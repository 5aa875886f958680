#include "studio/sources/image_intake.h"

#include "base/error.h"
#include "compositor/scene/load_image.h"
#include "document/scene_ops.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds farewell { 1000 };

bool isInside(const Scene &scene, std::int32_t layer)
{
    return layer >= 0 && layer < static_cast<std::int32_t>(scene.layers.size());
}

} // namespace

ImageIntake::~ImageIntake()
{
    for (const Decoding &decoding : m_decoding) {
        if (!decoding.task.isReady(farewell)) {
            return;
        }
    }
}

ImageIntake::Place ImageIntake::placeOf(std::int32_t layer)
{
    SceneSets &scenes = m_stage.scenes;
    const Scene &scene = scenes.currentScene();
    Place place { m_stage.projects,
        scenes.editing(),
        scenes.currentIndex(scenes.editing()),
        scene.name,
        scenes.editedScenes().size(),
        layer,
        {},
        nullptr };
    if (isInside(scene, layer)) {
        const Layer &shown = scene.layers[static_cast<std::size_t>(layer)];
        place.layerPath = shown.path;
        place.layerImage = shown.image;
    }
    return place;
}

void ImageIntake::add(const QString &path)
{
    decode(placeOf(newLayer), path);
}

void ImageIntake::change(std::int32_t layer, const QString &path)
{
    if (isInside(m_stage.scenes.currentScene(), layer)) {
        decode(placeOf(layer), path);
    }
}

void ImageIntake::decode(Place place, const QString &path)
{
    Decoding decoding { std::move(place), path, {} };
    decoding.task.start([path] { return loadImage(path); });
    m_decoding.push_back(std::move(decoding));
}

void ImageIntake::poll()
{
    for (auto decoding = m_decoding.begin(); decoding != m_decoding.end();) {
        if (!decoding->task.isReady()) {
            ++decoding;
            continue;
        }
        Decoding done = std::move(*decoding);
        decoding = m_decoding.erase(decoding);
        try {
            deliver(done.place, done.path, done.task.take());
        } catch (const std::exception &error) {
            onFailed(errorText(error));
        }
    }
}

/// The scene that a picture belongs to: at its place, or moved by others that came or went.
Scene *ImageIntake::find(const Place &place)
{
    if (place.project != m_stage.projects) {
        return nullptr;
    }
    std::vector<Scene> &scenes = m_stage.scenes.scenes(place.set);
    const auto index = static_cast<std::size_t>(place.scene);
    const bool stays = index < scenes.size() && scenes[index].name == place.sceneName;
    const auto moved = std::find_if(scenes.begin(), scenes.end(), [&place](const Scene &scene) {
        return scene.name == place.sceneName;
    });
    const bool renamed = moved == scenes.end() && scenes.size() == place.sceneCount;
    if (stays || renamed) {
        return &scenes[index];
    }
    return moved != scenes.end() ? &*moved : nullptr;
}

bool ImageIntake::isInPreview(const Scene &scene)
{
    return &scene == &m_stage.scenes.currentScene();
}

void ImageIntake::deliver(const Place &place, const QString &path, FramePtr image)
{
    Scene *scene = find(place);
    if (scene == nullptr) {
        return;
    }
    if (place.layer == newLayer) {
        const FrameSize size = place.set == SceneSet::Hall ? hallSize : m_stage.streamFrame();
        const std::int32_t added = addLayer(*scene, imageLayer(path, std::move(image), size));
        if (isInPreview(*scene)) {
            onAdded(added);
        }
        return;
    }
    const auto isAsked = [&place](const Layer &layer) {
        return layer.kind == LayerKind::Image && layer.path == place.layerPath
            && layer.image == place.layerImage;
    };
    const auto stays = isInside(*scene, place.layer)
        && isAsked(scene->layers[static_cast<std::size_t>(place.layer)]);
    const auto found = stays ? scene->layers.begin() + place.layer
                             : std::find_if(scene->layers.begin(), scene->layers.end(), isAsked);
    if (found == scene->layers.end()) {
        return;
    }
    const auto layer = static_cast<std::int32_t>(found - scene->layers.begin());
    if (changeImage(*scene, layer, path, std::move(image)) && isInPreview(*scene)) {
        onChanged(layer);
    }
}

} // namespace nimbara
