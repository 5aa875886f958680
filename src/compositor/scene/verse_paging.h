#pragma once

#include "compositor/scene/verse_pager.h"
#include "compositor/scene/verse_voice.h"
#include "compositor/text/page_ruler.h"
#include "compositor/text/word_breaks.h"

#include <QRectF>

#include <cstdint>
#include <vector>

namespace nimbara {

/// The lines and words of one verse layer, with one Bible or two, at any size of its letters.
/// Letters become smaller for a word that its line does not hold. Where even the smallest are too
/// large, two Bibles stand one above the other instead of side by side, and then the word is
/// divided.
class VersePaging {
public:
    /// `layer`: with what it shows alone (`shownVerse`); must outlive the paging.
    VersePaging(const Layer &layer, FrameSize frame);

    /// There is nothing to split, or no room for it.
    [[nodiscard]] bool isEmpty() const;
    /// The smallest size that the layer wants.
    [[nodiscard]] std::int32_t smallest() const;
    /// The whole text fits on one page with letters of the size, and each word on a line.
    [[nodiscard]] bool fits(std::int32_t size) const;
    /// The whole passage as a page with letters of the size.
    [[nodiscard]] VersePage whole(std::int32_t size) const;
    /// Pages with letters of the smallest size; smaller ones where a page could not hold a divided
    /// word.
    [[nodiscard]] VersePages split() const;

private:
    /// How the reference stands on the pages.
    struct ReferenceForm {
        std::int32_t place = 0; ///< hidden where it would leave no room
        bool isNamed = true; ///< it names its Bible: not where it would take most of the room
    };
    /// What letters of a size leave room for.
    struct Room {
        std::vector<PageRuler> rulers; ///< of each voice
        std::vector<std::int32_t> lines; ///< of each voice, or of all together
        ReferenceForm reference;
    };
    [[nodiscard]] bool isBeside() const;
    [[nodiscard]] bool hasRoomBeside() const;
    [[nodiscard]] bool hasWideReference(const WordBreaks &breaks, bool isNamed) const;
    [[nodiscard]] bool hasWideWord(std::int32_t size) const;
    [[nodiscard]] WordBreaks breaks(std::int32_t size) const;
    [[nodiscard]] bool holdsWords(const Room &room) const;
    [[nodiscard]] bool isAlternating() const;
    [[nodiscard]] TextBlock block(std::int32_t size) const;
    [[nodiscard]] Room room(std::int32_t size) const;
    [[nodiscard]] std::vector<std::int32_t>
    linesLeft(const TextBlock &places, std::int32_t all, bool isNamed) const;
    [[nodiscard]] std::int32_t referenceLines(const VerseVoice &voice,
        const TextBlock &places,
        std::int32_t most,
        bool isNamed) const;
    [[nodiscard]] std::size_t reach(const Room &room, std::size_t first) const;
    [[nodiscard]] PageRange wordsOf(std::size_t voice, PageRange units) const;
    [[nodiscard]] QString referenceOf(std::size_t voice, PageRange words, bool isNamed) const;
    [[nodiscard]] VersePage
    page(PageRange units, ReferenceForm form, const WordBreaks &breaks) const;
    [[nodiscard]] VersePage
    pageOfOne(PageRange units, ReferenceForm form, const WordBreaks &breaks) const;
    [[nodiscard]] PlacedText alternating(PageRange units, ReferenceForm form) const;

    const Layer &m_layer;
    FrameSize m_frame;
    QRectF m_box;
    std::int32_t m_arrangement; ///< of two voices
    std::vector<VerseVoice> m_voices; ///< one or two
    std::vector<PagePair> m_pairs; ///< of two voices
    std::vector<PageWord> m_units; ///< what is split: the one's words, or the pairs
};

} // namespace nimbara
