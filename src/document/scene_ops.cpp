#include "document/scene_ops.h"

#include "base/error.h"
#include "base/i18n.h"
#include "document/layer_geometry.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace nimbara {

using nimbara_i18n::tr;

namespace {

bool hasLayer(const Scene &scene, std::int32_t index)
{
    return index >= 0 && static_cast<std::size_t>(index) < scene.layers.size();
}

/// The current index after `currentScene` has made it valid.
std::int32_t settledIndex(SceneSets &sets)
{
    static_cast<void>(sets.currentScene());
    return sets.currentIndex(sets.editing());
}

QString fileNameOf(const QString &path)
{
    return QFileInfo(path).fileName();
}

} // namespace

QString proposedSceneName(const SceneSets &sets)
{
    const auto next = sets.scenes(sets.editing()).size() + 1;
    return tr("Escena") + QLatin1Char(' ') + QString::number(next);
}

bool newScene(SceneSets &sets, const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) {
        return false;
    }
    Scene scene = defaultScene(sets.editingHall());
    scene.name = trimmed;
    auto &scenes = sets.editedScenes();
    scenes.push_back(std::move(scene));
    sets.setCurrentIndex(sets.editing(), static_cast<std::int32_t>(scenes.size()) - 1);
    return true;
}

bool renameScene(SceneSets &sets, const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) {
        return false;
    }
    sets.currentScene().name = trimmed;
    return true;
}

void duplicateScene(SceneSets &sets)
{
    Scene copy = sets.currentScene();
    copy.name += QLatin1Char(' ') + tr("copia");
    const std::int32_t place = settledIndex(sets) + 1;
    auto &scenes = sets.editedScenes();
    scenes.insert(scenes.begin() + place, std::move(copy));
    sets.setCurrentIndex(sets.editing(), place);
}

void checkSceneDeletable(const SceneSets &sets)
{
    if (sets.scenes(sets.editing()).size() < 2) {
        throw Error(QStringLiteral("Debe quedar al menos una escena"));
    }
}

QString deleteSceneQuestion(SceneSets &sets)
{
    return tr("¿Eliminar la escena") + QStringLiteral(" \"") + sets.currentScene().name
        + QStringLiteral("\"?");
}

void deleteScene(SceneSets &sets)
{
    checkSceneDeletable(sets);
    const std::int32_t index = settledIndex(sets);
    auto &scenes = sets.editedScenes();
    scenes.erase(scenes.begin() + index);
    sets.setCurrentIndex(sets.editing(), std::max(index - 1, 0));
}

Layer imageLayer(const QString &path, FramePtr image, FrameSize profile)
{
    Layer layer = newLayer(LayerKind::Image);
    layer.name = fileNameOf(path);
    layer.path = path;
    setBox(layer, newImageBox(image ? image->size() : FrameSize {}, profile));
    layer.image = std::move(image);
    return layer;
}

Layer videoLayer(const QString &location, MediaPtr source)
{
    Layer layer = newLayer(LayerKind::Video);
    const QUrl url(location, QUrl::TolerantMode);
    layer.name = url.isLocalFile() ? fileNameOf(url.toLocalFile()) : location;
    layer.uri = location;
    layer.source = std::move(source);
    return layer;
}

Layer screenLayer(MediaPtr source)
{
    Layer layer = newLayer(LayerKind::Screen);
    layer.source = std::move(source);
    return layer;
}

bool changeImage(Scene &scene, std::int32_t selected, const QString &path, FramePtr image)
{
    if (!hasLayer(scene, selected)) {
        return false;
    }
    Layer &layer = scene.layers[static_cast<std::size_t>(selected)];
    layer.image = std::move(image);
    layer.path = path;
    layer.name = fileNameOf(path);
    return true;
}

std::int32_t moveLayer(Scene &scene, std::int32_t selected, std::int32_t delta)
{
    const std::int32_t other = selected + delta;
    if (!hasLayer(scene, selected) || !hasLayer(scene, other)) {
        return selected;
    }
    std::swap(scene.layers[static_cast<std::size_t>(selected)],
        scene.layers[static_cast<std::size_t>(other)]);
    return other;
}

bool setLayerVisible(Scene &scene, std::int32_t index, bool visible)
{
    if (!hasLayer(scene, index)) {
        return false;
    }
    return std::exchange(scene.layers[static_cast<std::size_t>(index)].visible, visible) != visible;
}

std::int32_t deleteLayer(Scene &scene, std::int32_t selected)
{
    if (!hasLayer(scene, selected)) {
        return selected;
    }
    scene.layers.erase(scene.layers.begin() + selected);
    return std::min(selected, static_cast<std::int32_t>(scene.layers.size()) - 1);
}

} // namespace nimbara
