#pragma once

#include "compositor/scene/canvas_pool.h"
#include "compositor/scene/caption_fit.h"
#include "compositor/scene/paint_picture.h"
#include "compositor/scene/verse_pager.h"
#include "compositor/text/glyph_ink.h"
#include "compositor/text/text_block.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace nimbara {

struct Composed;

/// What several composers have painted once and lay down again and again: texts, scaled pictures
/// and whole compositions. What the pager has painted ahead is not painted again.
///
/// A sprite that nobody holds leaves when it was not asked for during `patience` compositions, when
/// its picture is gone, or when the unheld ones take more than `maxIdleBytes`. Patience is short:
/// what a composer shows is held by it, and memory given back soon is warm when the next caption
/// needs it. Interface thread only.
class PaintCache {
public:
    static constexpr std::uint64_t patience = 12;
    static constexpr std::int64_t maxIdleBytes = 96LL * 1024 * 1024;

    /// `pager`: shared with whoever asks for pages as well.
    explicit PaintCache(std::shared_ptr<VersePager> pager = std::make_shared<VersePager>())
        : m_versePager(std::move(pager))
    {
    }

    [[nodiscard]] SpritePtr text(const TextBlock &block);
    [[nodiscard]] SpritePtr picture(const PictureSpot &spot);

    /// Marks the start of a composition: what has been idle too long leaves.
    void age();

    /// Canvases for new compositions.
    [[nodiscard]] CanvasPool &canvases() { return m_canvases; }

    /// What the places for captions have room for.
    [[nodiscard]] CaptionFit &captionFit() { return m_captionFit; }

    /// How verse layers are split.
    [[nodiscard]] VersePager &versePager() { return *m_versePager; }

    /// The compositions that composers hold now; those that nobody holds any more are gone.
    [[nodiscard]] std::vector<std::shared_ptr<const Composed>> compositions();
    void share(const std::shared_ptr<const Composed> &composed);

    /// Sprites held, for tests.
    [[nodiscard]] std::size_t spriteCount() const { return m_texts.size() + m_pictures.size(); }

private:
    struct TextEntry {
        TextBlock block;
        SpritePtr sprite;
        std::uint64_t lastUse = 0;
    };
    struct PictureEntry {
        std::weak_ptr<const Frame> picture; ///< held weakly: a live picture is gone with its frame
        PictureFit fit;
        double opacity = 1;
        QRect canvas;
        SpritePtr sprite;
        std::uint64_t lastUse = 0;

        [[nodiscard]] bool shows(const PictureSpot &spot) const;
    };
    struct HalvedEntry {
        std::weak_ptr<const Frame> picture;
        int times = 0;
        QImage image;
        std::uint64_t lastUse = 0;
    };

    [[nodiscard]] QImage source(const PictureSpot &spot);
    [[nodiscard]] bool tired(std::uint64_t lastUse) const;
    void dropIdle();

    std::uint64_t m_now = 0; ///< counts compositions
    GlyphInk m_ink;
    CanvasPool m_canvases;
    CaptionFit m_captionFit;
    std::shared_ptr<VersePager> m_versePager;
    std::vector<TextEntry> m_texts;
    std::vector<PictureEntry> m_pictures;
    std::vector<HalvedEntry> m_halved;
    std::vector<std::weak_ptr<const Composed>> m_compositions;
};

} // namespace nimbara
