#pragma once

#include "compositor/scene/verse_pager.h"
#include "compositor/scene/verse_voice.h"
#include "compositor/text/page_ruler.h"

#include <QRectF>

#include <cstdint>
#include <vector>

namespace nimbara {

/// The lines and words of one verse layer, with one Bible or two, at any size of its letters.
class VersePaging {
public:
    /// `layer`: with what it shows alone (`shownVerse`); must outlive the paging.
    VersePaging(const Layer &layer, FrameSize frame);

    /// There is nothing to split, or no room for it.
    [[nodiscard]] bool isEmpty() const;
    /// The whole text fits on one page with letters of the size.
    [[nodiscard]] bool fits(std::int32_t size) const;
    /// The whole passage as a page.
    [[nodiscard]] VersePage whole() const;
    [[nodiscard]] std::vector<VersePage> split(std::int32_t size) const;

private:
    /// What letters of a size leave room for.
    struct Room {
        std::vector<PageRuler> rulers; ///< of each voice
        std::vector<std::int32_t> lines; ///< of each voice, or of all together
        std::int32_t place = 0; ///< of the reference: hidden where it would leave no room
    };
    [[nodiscard]] bool isBeside() const;
    [[nodiscard]] bool isAlternating() const;
    [[nodiscard]] TextBlock block(std::int32_t size) const;
    [[nodiscard]] Room room(std::int32_t size) const;
    [[nodiscard]] std::int32_t referenceLines(const VerseVoice &voice,
        const QFont &font,
        double width,
        std::int32_t most) const;
    [[nodiscard]] std::size_t reach(const Room &room, std::size_t first) const;
    [[nodiscard]] PageRange wordsOf(std::size_t voice, PageRange units) const;
    [[nodiscard]] VersePage page(PageRange units, std::int32_t place) const;
    void alternate(VersePage &page, PageRange units, std::int32_t place) const;

    const Layer &m_layer;
    FrameSize m_frame;
    QRectF m_box;
    std::vector<VerseVoice> m_voices; ///< one or two
    std::vector<PagePair> m_pairs; ///< of two voices
    std::vector<PageWord> m_units; ///< what is split: the one's words, or the pairs
};

} // namespace nimbara
