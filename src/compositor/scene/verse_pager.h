#pragma once

#include "compositor/text/coverage.h"
#include "compositor/text/text_block.h"
#include "document/layer.h"
#include "signal/frame.h"

#include <QString>

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

class PagesAhead;

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

/// Makes the text smaller until its box shows all of it and its lines every word, down to the
/// layer's smallest size; then splits what is too long (`splitPages`) or too wide (`WordBreaks`),
/// two Bibles in step, so that a page says the same in both. A layer that is not paged has one page
/// of its own size. `frame`: of the program. Needs the application's fonts. From any thread.
VersePages pagesOf(const Layer &layer, FrameSize frame);

/// The layer with what its page shows, and no pages any more.
Layer pageShown(const Layer &layer, const VersePages &pages);

/// The text of the page that a verse layer shows, as it is drawn in a program's frame.
std::optional<TextBlock> textOfPage(const Layer &layer, const VersePages &pages, FrameSize frame);

/// A layer in a program's frame: what pages are of.
struct PagedLayer {
    Layer layer;
    FrameSize frame;
    bool operator==(const PagedLayer &) const = default;
};

struct LayerPages {
    PagedLayer of; ///< as far as its pages depend on it
    VersePages pages;
};

/// Remembers the pages of the layers that were last asked for, and has some made ready before they
/// are. Interface thread only.
class VersePager {
public:
    VersePager();
    /// Waits for what is being made ready, one layer at most.
    ~VersePager();
    VersePager(const VersePager &) = delete;
    VersePager &operator=(const VersePager &) = delete;
    VersePager(VersePager &&) = delete;
    VersePager &operator=(VersePager &&) = delete;

    /// As `pagesOf`, at once where they are remembered or were made ahead. The answer lives until
    /// so many others were asked for.
    const VersePages &pages(const Layer &layer, FrameSize frame);

    /// Makes ready what is likely to be shown next (`PagesAhead`), in this order: the pages of each
    /// layer, and the picture of the one that it shows. What an earlier call wanted and is not
    /// begun is left out; when nothing is wanted, all pictures go.
    void makeAhead(const std::vector<PagedLayer> &wanted);

    /// The picture of a page that was made ready; none while it is not.
    [[nodiscard]] SpritePtr painted(const TextBlock &block);

    /// Waits until all that is wanted is ready; for tests.
    void finishAhead();

private:
    using Entries = std::list<LayerPages>;

    [[nodiscard]] Entries::iterator find(const PagedLayer &asked);
    void remember(Entries &&made);

    Entries m_entries; ///< the last asked for first
    std::unique_ptr<PagesAhead> m_ahead;
};

} // namespace nimbara
