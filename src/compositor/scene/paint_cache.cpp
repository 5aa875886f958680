#include "compositor/scene/paint_cache.h"

#include "compositor/scene/native_pixels.h"
#include "compositor/text/paint_text.h"

#include <algorithm>

namespace nimbara {

namespace {

/// Same frame, even when one is gone and another was made at its address.
bool sameFrame(const std::weak_ptr<const Frame> &held, const FramePtr &frame)
{
    return !held.owner_before(frame) && !frame.owner_before(held);
}

template <typename Entry> bool held(const Entry &entry)
{
    return entry.sprite.use_count() > 1;
}

/// Drops the longest unused of the sprites that nobody holds, until the rest fits.
template <typename Entry> void keepWithin(std::vector<Entry> &entries, std::int64_t bytes)
{
    std::stable_sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return a.lastUse > b.lastUse;
    });
    std::erase_if(entries, [&bytes](const Entry &entry) {
        if (held(entry)) {
            return false;
        }
        bytes -= entry.sprite->image.sizeInBytes();
        return bytes < 0;
    });
}

} // namespace

bool PaintCache::PictureEntry::shows(const PictureSpot &spot) const
{
    return sameFrame(picture, spot.picture) && fit == spot.fit && opacity == spot.opacity
        && canvas == spot.canvas;
}

SpritePtr PaintCache::text(const TextBlock &block)
{
    const auto found = std::find_if(m_texts.begin(), m_texts.end(), [&](const TextEntry &entry) {
        return entry.block == block;
    });
    if (found != m_texts.end()) {
        found->lastUse = m_now;
        return found->sprite;
    }
    SpritePtr sprite = m_versePager->painted(block);
    if (!sprite) {
        sprite = std::make_shared<const Sprite>(paintText(block, m_ink));
    }
    m_texts.push_back({ block, sprite, m_now });
    return sprite;
}

SpritePtr PaintCache::picture(const PictureSpot &spot)
{
    const auto found = std::find_if(m_pictures.begin(),
        m_pictures.end(),
        [&](const PictureEntry &entry) { return entry.shows(spot); });
    if (found != m_pictures.end()) {
        found->lastUse = m_now;
        return found->sprite;
    }
    auto sprite = std::make_shared<const Sprite>(paintPicture(spot, source(spot)));
    m_pictures.push_back({ spot.picture, spot.fit, spot.opacity, spot.canvas, sprite, m_now });
    return sprite;
}

QImage PaintCache::source(const PictureSpot &spot)
{
    const int times = halvings(spot);
    if (times == 0) {
        return nativeView(*spot.picture);
    }
    const auto found
        = std::find_if(m_halved.begin(), m_halved.end(), [&](const HalvedEntry &entry) {
              return entry.times == times && sameFrame(entry.picture, spot.picture);
          });
    if (found != m_halved.end()) {
        found->lastUse = m_now;
        return found->image;
    }
    return m_halved
        .emplace_back(HalvedEntry { spot.picture, times, halved(*spot.picture, times), m_now })
        .image;
}

bool PaintCache::tired(std::uint64_t lastUse) const
{
    return m_now - lastUse > patience;
}

void PaintCache::age()
{
    ++m_now;
    dropIdle();
}

void PaintCache::dropIdle()
{
    std::erase_if(m_texts,
        [this](const TextEntry &entry) { return !held(entry) && tired(entry.lastUse); });
    std::erase_if(m_pictures, [this](const PictureEntry &entry) {
        return !held(entry) && (entry.picture.expired() || tired(entry.lastUse));
    });
    std::erase_if(m_halved, [this](const HalvedEntry &entry) {
        return entry.picture.expired() || tired(entry.lastUse);
    });
    keepWithin(m_texts, maxIdleBytes / 2);
    keepWithin(m_pictures, maxIdleBytes / 2);
}

std::vector<std::shared_ptr<const Composed>> PaintCache::compositions()
{
    std::vector<std::shared_ptr<const Composed>> held;
    std::erase_if(m_compositions, [&held](const std::weak_ptr<const Composed> &weak) {
        if (auto composed = weak.lock()) {
            held.push_back(std::move(composed));
            return false;
        }
        return true;
    });
    return held;
}

void PaintCache::share(const std::shared_ptr<const Composed> &composed)
{
    m_compositions.push_back(composed);
}

} // namespace nimbara
