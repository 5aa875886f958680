#include "document/text_styles.h"

#include "base/error.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

/// Changes the layers that the question is true for. A scene without a change stays the very same.
template <typename Which, typename Change>
void changeLayers(SceneSets &scenes, Which isMeant, Change change)
{
    for (const SceneSet set : bothSets) {
        for (ScenePtr &each : scenes.of(set)) {
            if (std::none_of(each->layers.begin(), each->layers.end(), isMeant)) {
                continue;
            }
            Scene scene = *each;
            for (Layer &layer : scene.layers) {
                layer = isMeant(layer) ? change(layer) : layer;
            }
            if (scene != *each) {
                each = std::make_shared<const Scene>(std::move(scene));
            }
        }
    }
}

void changeLayer(SceneSets &scenes, LayerId id, const auto &change)
{
    changeLayers(
        scenes,
        [id](const Layer &layer) { return layer.id == id; },
        change);
}

void changeFollowers(SceneSets &scenes, const QString &name, const auto &change)
{
    changeLayers(
        scenes,
        [&name](const Layer &layer) { return isText(layer.kind) && layer.style == name; },
        change);
}

Layer following(Layer layer, const QString &name)
{
    layer.style = name;
    return layer;
}

} // namespace

Layer lookOf(const Layer &layer)
{
    Layer bare;
    bare.id = {};
    bare.source = {};
    bare.kind = LayerKind::Text;
    return lookingAs(std::move(bare), layer);
}

Layer withKnownStyle(const SceneSets &scenes, Layer layer)
{
    if (const TextStyle *style = findStyle(scenes, layer.style)) {
        return lookingAs(std::move(layer), style->look);
    }
    layer.style.clear();
    return layer;
}

SceneSets styleKept(const SceneSets &scenes, LayerId id, const QString &name)
{
    const QString trimmed = name.trimmed();
    const Layer *layer = findLayer(scenes, id);
    if (layer == nullptr || !isText(layer->kind) || trimmed.isEmpty()) {
        return scenes;
    }
    SceneSets result = scenes;
    if (findStyle(scenes, trimmed) == nullptr) {
        if (scenes.styles.size() >= SceneSets::mostStyles) {
            throw Error(QStringLiteral("El proyecto ya tiene demasiados estilos."));
        }
        result.styles.push_back({ trimmed, lookOf(*layer) });
    }
    changeLayer(result, id, [&trimmed](const Layer &each) { return following(each, trimmed); });
    return lookSpread(result, id);
}

SceneSets styleFollowed(const SceneSets &scenes, LayerId id, const QString &name)
{
    const TextStyle *style = findStyle(scenes, name);
    const Layer *layer = findLayer(scenes, id);
    if (layer == nullptr || !isText(layer->kind) || (style == nullptr && !name.isEmpty())) {
        return scenes;
    }
    SceneSets result = scenes;
    changeLayer(result, id, [&name, style](const Layer &each) {
        return following(style != nullptr ? lookingAs(each, style->look) : each, name);
    });
    return result;
}

SceneSets styleRemoved(const SceneSets &scenes, const QString &name)
{
    if (findStyle(scenes, name) == nullptr) {
        return scenes;
    }
    SceneSets result = scenes;
    std::erase_if(result.styles, [&name](const TextStyle &style) { return style.name == name; });
    changeFollowers(result, name, [](const Layer &each) { return following(each, {}); });
    return result;
}

SceneSets lookSpread(const SceneSets &scenes, LayerId id)
{
    const Layer *layer = findLayer(scenes, id);
    if (layer == nullptr || findStyle(scenes, layer->style) == nullptr) {
        return scenes;
    }
    SceneSets result = scenes;
    const Layer look = lookOf(*layer);
    for (TextStyle &style : result.styles) {
        style.look = style.name == layer->style ? look : style.look;
    }
    changeFollowers(result, layer->style, [&look](const Layer &each) {
        return lookingAs(each, look);
    });
    return result;
}

} // namespace nimbara
