#pragma once

#include "compositor/scene/verse_pager.h"
#include "compositor/text/coverage.h"
#include "compositor/text/text_block.h"

#include <QThreadPool>

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <vector>

namespace nimbara {

/// Makes pages of verse layers ready before they are shown: how the layer is split, and the picture
/// of the page that it shows. All of it is done on one thread, whose turn comes after the others of
/// the studio. The pictures that were wanted or shown last are kept, within both limits. What is
/// public here is the interface thread's, `painted` any thread's, and waits for nothing but a lock
/// that is held for moments.
class PagesAhead {
public:
    /// The page before, this one and the next, each in PREVIEW and in both programs, and some more.
    static constexpr std::size_t mostPainted = 12;
    static constexpr std::int64_t mostBytes = 64LL * 1024 * 1024; ///< of pictures

    struct Wanted {
        PagedLayer of; ///< what its pages depend on
        Layer layer;
        std::optional<VersePages> shown; ///< the page that it shows, alone, where that is known
    };

    PagesAhead();
    /// Waits for what is being made, one layer at most.
    ~PagesAhead();
    PagesAhead(const PagesAhead &) = delete;
    PagesAhead &operator=(const PagesAhead &) = delete;
    PagesAhead(PagesAhead &&) = delete;
    PagesAhead &operator=(PagesAhead &&) = delete;

    /// Makes all of it ready in this order, where it is not yet. What an earlier call wanted and is
    /// not begun is left out. Nothing wanted: the pictures go.
    void want(std::vector<Wanted> wanted);

    /// The pages made since the last call.
    [[nodiscard]] std::list<LayerPages> takePages();

    /// The picture of a page, none while it is not ready.
    [[nodiscard]] SpritePtr painted(const TextBlock &block);

    /// Waits until all is ready.
    void finish();

private:
    struct Painted {
        TextBlock block; ///< never laid out: a font in use belongs to its thread
        SpritePtr sprite;
    };

    void make(const Wanted &wanted);
    [[nodiscard]] VersePages pagesFor(const Wanted &wanted);
    [[nodiscard]] SpritePtr find(const TextBlock &block);
    void keep(Painted painted);

    std::mutex m_mutex; ///< of the next three
    std::list<LayerPages> m_made; ///< and not taken yet
    std::list<Painted> m_painted; ///< the last wanted or shown first
    bool m_isWanted = false; ///< anything
    QThreadPool m_thread;
};

} // namespace nimbara
