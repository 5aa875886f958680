#include "studio/programs/scene_pictures.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

using Weak = std::weak_ptr<const Frame>;

/// Of the layers in sight.
QStringList clocksOf(const Scene &scene, const ClockReading &reading)
{
    QStringList texts;
    for (const Layer &layer : scene.layers) {
        if (layer.kind == LayerKind::Clock && layer.visible) {
            texts << clockText(layer, reading);
        }
    }
    return texts;
}

bool isOnePicture(const Weak &a, const Weak &b)
{
    return !a.owner_before(b) && !b.owner_before(a);
}

} // namespace

ScenePictures::ScenePictures(const Stage &stage, const Sources &sources)
    : m_stage(stage)
    , m_sources(sources)
{
}

ScenePictures::~ScenePictures() = default;

void ScenePictures::frameMade(std::int64_t nowUs, bool late)
{
    m_slotIsFree = true;
    if (late) {
        m_restUntilUs = nowUs + restUs;
    }
}

void ScenePictures::useTime(std::int64_t nowUs, std::int64_t nextFrameUs)
{
    const bool hasTime = nowUs >= m_restUntilUs && nextFrameUs - nowUs >= needUs;
    if (!m_isShown || !hasTime || !std::exchange(m_slotIsFree, false)) {
        return;
    }
    const SceneSet set = m_stage.document.editing();
    if (std::exchange(m_set, set) != set) {
        m_made.clear(); // nobody kept those of the other set
    }
    const FrameSize wanted = size();
    if (const ScenePtr scene = nextScene(nowUs, wanted)) {
        look(scene, wanted, nowUs);
    }
}

FrameSize ScenePictures::size() const
{
    const FrameSize frame = m_stage.previewFrame();
    return { std::max(1, height * frame.width / frame.height), height };
}

/// An edited scene goes before one that may only have moved, the one that waited longest first.
ScenePtr ScenePictures::nextScene(std::int64_t nowUs, FrameSize size) const
{
    ScenePtr longest;
    std::int64_t since = nowUs - periodUs;
    for (const ScenePtr &scene : m_stage.document.editedScenes()) {
        const auto found = m_made.find(scene->id);
        if (found == m_made.end() || found->second.scene != scene || found->second.size != size) {
            return scene;
        }
        if (found->second.lookedUs <= since) {
            since = found->second.lookedUs;
            longest = scene;
        }
    }
    return longest;
}

void ScenePictures::look(const ScenePtr &scene, FrameSize size, std::int64_t nowUs)
{
    const LayerPictures pictures = m_sources.live(scene).pictures(m_sources.cameraPicture());
    std::vector<Weak> held(pictures.begin(), pictures.end());
    QStringList clocks = clocksOf(*scene, m_stage.clocks);
    Made &last = m_made[scene->id];
    const bool stands = last.scene == scene && last.size == size && last.clocks == clocks
        && std::equal(held.begin(),
            held.end(),
            last.pictures.begin(),
            last.pictures.end(),
            isOnePicture);
    last = { scene, size, std::move(held), std::move(clocks), nowUs };
    if (!stands) {
        m_cache.age();
        Q_EMIT made(scene->id, renderScene(*scene, pictures, size, m_cache, m_stage.clocks));
    }
    const SceneSets &scenes = m_stage.document.scenes();
    std::erase_if(m_made, [&scenes](const auto &each) { return !placeOf(scenes, each.first); });
}

} // namespace nimbara
