#include "compositor/scene/caption_fit.h"

#include "compositor/text/text_overflow.h"

#include <algorithm>

namespace nimbara {

namespace {

/// What lies below the canvas is not seen.
bool fits(const std::optional<TextBlock> &block)
{
    if (!block) {
        return false;
    }
    const QRectF &area = block->draws.front().area;
    const double bottom = std::min(area.bottom(), QRectF(block->canvas).bottom());
    return textHeight(*block) <= bottom - area.top();
}

/// How many of the newest phrases fit, at least one. Begins at `likely`: one more caption changes
/// little.
qsizetype countOf(const Captions &captions, const CaptionFit::Draw &draw, qsizetype likely)
{
    qsizetype count = std::clamp(likely, qsizetype { 1 }, captions.phrases.size());
    while (count < captions.phrases.size() && fits(draw(captions.newest(count + 1)))) {
        ++count;
    }
    while (count > 1 && !fits(draw(captions.newest(count)))) {
        --count;
    }
    return count;
}

} // namespace

Captions CaptionFit::cut(const Captions &captions, const Draw &draw, std::int32_t language)
{
    if (!captions.shown || captions.phrases.size() < 2) {
        return captions;
    }
    std::optional<TextBlock> block = draw(captions.newest(1));
    if (!block) {
        return captions;
    }
    block->draws.front().text.clear();
    Place &place = placeOf(*block, language);
    if (place.captions != captions) {
        place.count = countOf(captions, draw, place.count);
        place.captions = captions;
    }
    return captions.newest(place.count);
}

CaptionFit::Place &CaptionFit::placeOf(const TextBlock &block, std::int32_t language)
{
    const auto found = std::find_if(m_places.begin(), m_places.end(), [&](const Place &place) {
        return place.language == language && place.block == block;
    });
    if (found != m_places.end()) {
        return *found;
    }
    // A place that is being dragged looks much like it did a frame ago.
    const qsizetype likely = m_places.empty() ? 1 : m_places.back().count;
    if (m_places.size() == maxPlaces) {
        m_places.erase(m_places.begin());
    }
    return m_places.emplace_back(Place { block, language, {}, likely });
}

} // namespace nimbara
