#include "studio/sources/source_pool.h"

#include "base/error.h"

#include <algorithm>
#include <exception>

namespace nimbara {

MediaPtr openSource(const MediaFactory &factory, FrameSize size, const Layer &layer)
{
    return layer.kind == LayerKind::Screen ? factory.screen(size)
                                           : factory.heldMedia(size, layer.uri, layer.latency);
}

SourcePool::SourcePool(const Clock &clock, SourceOpener open, Report status)
    : m_clock(clock)
    , m_open(std::move(open))
    , m_status(std::move(status))
{
}

MediaPtr SourcePool::find(const Layer &layer) const
{
    const auto entry = m_entries.find(layer.source);
    const bool fits = entry != m_entries.end() && entry->second.location == layer.uri;
    return fits && hasSource(layer.kind) ? entry->second.media : nullptr;
}

void SourcePool::put(const Layer &layer, MediaPtr source)
{
    m_entries[layer.source] = { std::move(source), layer.uri, m_clock.monotonicUs() };
}

void SourcePool::replace(const Layer &layer, MediaPtr source)
{
    const auto entry = m_entries.find(layer.source);
    if (entry != m_entries.end() && entry->second.location == layer.uri) {
        entry->second.media = std::move(source);
    }
}

void SourcePool::follow(const SceneSets &scenes)
{
    for (const SceneSet set : bothSets) {
        const Scenes &seen = m_seen.of(set);
        const Scenes &all = scenes.of(set);
        for (std::size_t place = 0; place < all.size(); ++place) {
            const bool unchanged = (place < seen.size() && seen[place] == all[place])
                || std::find(seen.begin(), seen.end(), all[place]) != seen.end();
            if (!unchanged) {
                openMissing(*all[place]);
            }
        }
    }
    m_seen = scenes;
}

void SourcePool::openMissing(const Scene &scene)
{
    for (const Layer &layer : scene.layers) {
        const bool wanted
            = hasSource(layer.kind) && (layer.kind == LayerKind::Screen || !layer.uri.isEmpty());
        const auto entry = m_entries.find(layer.source);
        if (!wanted || (entry != m_entries.end() && entry->second.location == layer.uri)) {
            continue;
        }
        put(layer, nullptr); // asked for once, whatever comes of it
        try {
            put(layer, m_open(layer));
        } catch (const Error &error) {
            m_status(error.message());
        }
    }
}

void SourcePool::sweep(const SceneSets &scenes)
{
    const std::int64_t now = m_clock.monotonicUs();
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                const auto entry = m_entries.find(layer.source);
                if (entry != m_entries.end()) {
                    entry->second.lastNamedUs = now;
                }
            }
        }
    }
    std::erase_if(m_entries,
        [now](const auto &entry) { return now - entry.second.lastNamedUs > patienceUs; });
}

void SourcePool::forEach(const std::function<void(const MediaPtr &)> &visit) const
{
    for (const auto &[id, entry] : m_entries) {
        if (entry.media) {
            visit(entry.media);
        }
    }
}

void SourcePool::reopen(const Scenes &scenes, const SourceOpener &open)
{
    std::set<SourceId> done;
    std::exception_ptr failure;
    for (const ScenePtr &scene : scenes) {
        for (const Layer &layer : scene->layers) {
            if (!find(layer) || !done.insert(layer.source).second) {
                continue;
            }
            try {
                put(layer, open(layer));
            } catch (const Error &) {
                put(layer, nullptr);
                failure = failure ? failure : std::current_exception();
            }
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace nimbara
