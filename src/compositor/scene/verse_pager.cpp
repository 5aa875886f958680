#include "compositor/scene/verse_pager.h"

#include "compositor/scene/pages_ahead.h"
#include "compositor/scene/picture_fit.h"
#include "compositor/scene/verse_paging.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::size_t mostRemembered = 32;

/// The largest size from `smallest` on that shows everything on one page; `smallest` does.
std::int32_t largestFitting(const VersePaging &paging, std::int32_t smallest, std::int32_t size)
{
    std::int32_t fits = smallest;
    std::int32_t tooLarge = size;
    while (tooLarge - fits > 1) {
        const std::int32_t between = (fits + tooLarge) / 2;
        (paging.fits(between) ? fits : tooLarge) = between;
    }
    return fits;
}

/// What the pages do not depend on is emptied.
Layer pagedFields(const Layer &layer)
{
    Layer kept;
    kept.id = {};
    kept.source = {};
    kept.kind = layer.kind;
    kept.x = layer.x;
    kept.y = layer.y;
    kept.w = layer.w;
    kept.h = layer.h;
    kept.text = layer.text;
    kept.reference = layer.reference;
    kept.font = layer.font;
    kept.size = layer.size;
    kept.bold = layer.bold;
    kept.spacing = layer.spacing;
    kept.upperCase = layer.upperCase;
    kept.paged = layer.paged;
    kept.smallest = layer.smallest;
    kept.numbers = layer.numbers;
    kept.referencePlace = layer.referencePlace;
    kept.secondText = layer.secondText;
    kept.secondReference = layer.secondReference;
    kept.arrangement = layer.arrangement;
    return kept;
}

PagedLayer pagedFields(const Layer &layer, FrameSize frame)
{
    return { pagedFields(layer.kind == LayerKind::Verse ? shownVerse(layer) : layer), frame };
}

} // namespace

std::size_t VersePages::shown(const Layer &layer) const
{
    return std::min(static_cast<std::size_t>(std::max(layer.page, 0)), pages.size() - 1);
}

VersePages pagesOf(const Layer &layer, FrameSize frame)
{
    if (layer.kind != LayerKind::Verse) {
        VersePages whole { layer.size, std::vector<VersePage>(1) };
        whole.pages.front().text = layer.text;
        whole.pages.front().reference = layer.reference;
        return whole;
    }
    const Layer shown = shownVerse(layer);
    const VersePaging paging(shown, frame);
    if (!layer.paged || paging.isEmpty() || paging.fits(layer.size)) {
        return { layer.size, { paging.whole(layer.size) } };
    }
    const std::int32_t smallest = paging.smallest();
    if (paging.fits(smallest)) {
        const std::int32_t size = largestFitting(paging, smallest, layer.size);
        return { size, { paging.whole(size) } };
    }
    return paging.split();
}

Layer pageShown(const Layer &layer, const VersePages &pages)
{
    const VersePage &page = pages.pages[pages.shown(layer)];
    Layer shown = shownVerse(layer);
    shown.size = pages.size;
    shown.text = page.text;
    shown.reference = page.namesItself ? QString() : page.reference;
    shown.secondText = page.second;
    shown.secondReference = page.secondReference;
    shown.arrangement = page.second.isEmpty() ? arrange::above : arrange::beside;
    shown.numbers = verse_numbers::plain;
    shown.paged = false;
    shown.page = 0;
    return shown;
}

std::optional<TextBlock> textOfPage(const Layer &layer, const VersePages &pages, FrameSize frame)
{
    return layerText(pageShown(layer, pages),
        pixelBox(QRectF(layer.x, layer.y, layer.w, layer.h), frame),
        frame.height,
        QRect(0, 0, frame.width, frame.height),
        pages.pages[pages.shown(layer)].numbers);
}

VersePager::VersePager()
    : m_ahead(std::make_unique<PagesAhead>())
{
}

VersePager::~VersePager() = default;

const VersePages &VersePager::pages(const Layer &layer, FrameSize frame)
{
    const PagedLayer asked = pagedFields(layer, frame);
    auto found = find(asked);
    if (found == m_entries.end()) {
        remember(m_ahead->takePages());
        found = find(asked);
    }
    if (found != m_entries.end()) {
        m_entries.splice(m_entries.begin(), m_entries, found);
    } else {
        Entries entry;
        entry.push_back({ asked, pagesOf(layer, frame) });
        remember(std::move(entry));
    }
    return m_entries.front().pages;
}

void VersePager::makeAhead(const std::vector<PagedLayer> &wanted)
{
    std::vector<PagesAhead::Wanted> all;
    for (const PagedLayer &each : wanted) {
        PagesAhead::Wanted one { pagedFields(each.layer, each.frame), each.layer, std::nullopt };
        const auto found = find(one.of);
        if (found != m_entries.end()) {
            const VersePages &pages = found->pages;
            one.shown = VersePages { pages.size, { pages.pages[pages.shown(each.layer)] } };
        }
        all.push_back(std::move(one));
    }
    m_ahead->want(std::move(all));
}

SpritePtr VersePager::painted(const TextBlock &block)
{
    return m_ahead->painted(block);
}

void VersePager::finishAhead()
{
    m_ahead->finish();
}

VersePager::Entries::iterator VersePager::find(const PagedLayer &asked)
{
    return std::find_if(m_entries.begin(), m_entries.end(), [&asked](const LayerPages &entry) {
        return entry.of == asked;
    });
}

/// In front of the others.
void VersePager::remember(Entries &&made)
{
    m_entries.splice(m_entries.begin(), std::move(made));
    while (m_entries.size() > mostRemembered) {
        m_entries.pop_back();
    }
}

} // namespace nimbara
