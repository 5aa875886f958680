#include "studio/sources/picture_shelf.h"

#include "compositor/scene/load_image.h"

#include <algorithm>

namespace nimbara {

FramePtr PictureShelf::find(const Layer &layer) const
{
    return layer.kind == LayerKind::Image ? m_entries.value(layer.path).picture : nullptr;
}

bool PictureShelf::isDecoding(const Layer &layer) const
{
    return layer.kind == LayerKind::Image
        && std::any_of(m_decoding.begin(), m_decoding.end(), [&layer](const Decoding &decoding) {
               return decoding.path == layer.path;
           });
}

void PictureShelf::put(const QString &path, FramePtr picture)
{
    m_entries.insert(path, { std::move(picture), m_clock.monotonicUs() });
}

void PictureShelf::follow(const SceneSets &scenes)
{
    for (const SceneSet set : bothSets) {
        const Scenes &seen = m_seen.of(set);
        const Scenes &all = scenes.of(set);
        for (std::size_t place = 0; place < all.size(); ++place) {
            if (place >= seen.size() || seen[place] != all[place]) {
                decodeMissing(*all[place]);
            }
        }
    }
    m_seen = scenes;
}

void PictureShelf::decodeMissing(const Scene &scene)
{
    for (const Layer &layer : scene.layers) {
        if (layer.kind != LayerKind::Image || layer.path.isEmpty()
            || m_entries.contains(layer.path)) {
            continue;
        }
        put(layer.path, nullptr); // asked for once, whatever comes of it
        m_decoding.push_back({ layer.path, {} });
        decode(m_decoding.back());
    }
}

void PictureShelf::decode(Decoding &decoding)
{
    m_wish.attempt(m_clock.monotonicUs(), [&decoding] {
        return decoding.task.tryStart([path = decoding.path] { return loadImage(path); });
    });
}

void PictureShelf::poll()
{
    std::erase_if(m_decoding, [this](Decoding &decoding) {
        if (!decoding.task.isUnderWay()) {
            decode(decoding); // no thread was to be had
        }
        if (!decoding.task.isReady()) {
            return false;
        }
        try {
            put(decoding.path, decoding.task.take());
        } catch (const std::exception &) {
            put(decoding.path, nullptr); // the layer shows that its picture is missing
        }
        return true;
    });
}

void PictureShelf::sweep(const SceneSets &scenes)
{
    const std::int64_t now = m_clock.monotonicUs();
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                const auto entry = m_entries.find(layer.path);
                if (layer.kind == LayerKind::Image && entry != m_entries.end()) {
                    entry->lastNamedUs = now;
                }
            }
        }
    }
    m_entries.removeIf(
        [now](const auto &entry) { return now - entry.value().lastNamedUs > patienceUs; });
}

} // namespace nimbara
