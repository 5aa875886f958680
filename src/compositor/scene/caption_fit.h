#pragma once

#include "compositor/scene/captions.h"
#include "compositor/text/text_block.h"

#include <functional>
#include <optional>
#include <vector>

namespace nimbara {

/// Cuts captions down to what the place that draws them has room for: the oldest phrases leave, and
/// the newest stays, even where it does not fit alone. Remembers the last places, so that a caption
/// that stays is measured once. Needs the application's fonts; interface thread only.
class CaptionFit {
public:
    /// How a place draws captions; none when they are too long for it.
    using Draw = std::function<std::optional<TextBlock>(const Captions &captions)>;

    /// `captions` are in one language (`caption_language`), by which places are told apart, too.
    [[nodiscard]] Captions cut(const Captions &captions,
        const Draw &draw,
        std::int32_t language = caption_language::first);

private:
    static constexpr std::size_t maxPlaces = 16;
    struct Place {
        TextBlock block; ///< without a text
        std::int32_t language = caption_language::first;
        Captions captions; ///< that were measured
        qsizetype count = 1; ///< so many phrases of them fit
    };

    Place &placeOf(const TextBlock &block, std::int32_t language);

    std::vector<Place> m_places;
};

} // namespace nimbara
