#pragma once

#include "compositor/text/text_block.h"
#include "document/layer.h"
#include "signal/frame.h"

#include <QString>

#include <cstdint>
#include <list>
#include <vector>

namespace nimbara {

/// A part of a verse layer's passage that is shown at once: its texts as they are drawn.
struct VersePage {
    QString reference; ///< names the verses of the page: "Juan 3:17-18 · Reina-Valera 1909"
    QString text;
    QString second; ///< beside the first one; empty unless the layer is arranged so
    QString secondReference;
    RaisedNumbers numbers;
    bool namesItself = false; ///< no reference belongs to it: the text has it, or there is no room
    double place = 0; ///< how many verses of the passage stand before the page
};

/// How a verse layer is shown in a frame.
struct VersePages {
    std::int32_t size = 0; ///< of the letters, as `Layer::size`
    std::vector<VersePage> pages; ///< at least one

    /// The page that the layer shows, from 0.
    [[nodiscard]] std::size_t shown(const Layer &layer) const;
};

/// Makes the text smaller until its box shows all of it, down to the layer's smallest size, and
/// splits what is still too long into pages (`splitPages`); two Bibles are split in step, so that a
/// page says the same in both. A layer that is not paged has one page of its own size. `frame`: of
/// the program. Needs the application's fonts.
VersePages pagesOf(const Layer &layer, FrameSize frame);

/// The layer with what its page shows, and no pages any more.
Layer pageShown(const Layer &layer, const VersePages &pages);

/// Remembers the pages of the layers that were last asked for. Interface thread only.
class VersePager {
public:
    /// As `pagesOf`. The answer lives until so many others were asked for.
    const VersePages &pages(const Layer &layer, FrameSize frame);

private:
    static constexpr std::size_t most = 16;
    struct Entry {
        Layer layer; ///< as far as its pages depend on it
        FrameSize frame;
        VersePages pages;
    };
    std::list<Entry> m_entries; ///< the last asked for first
};

} // namespace nimbara
