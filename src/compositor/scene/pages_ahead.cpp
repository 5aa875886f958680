#include "compositor/scene/pages_ahead.h"

#include "base/thread_priority.h"
#include "compositor/text/glyph_ink.h"
#include "compositor/text/paint_text.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace nimbara {

namespace {

constexpr std::size_t mostMade = 8;

} // namespace

PagesAhead::PagesAhead()
{
    m_thread.setMaxThreadCount(1);
    m_thread.setExpiryTimeout(-1); // with the fonts that it has measured
}

PagesAhead::~PagesAhead()
{
    m_thread.clear();
    m_thread.waitForDone();
}

void PagesAhead::want(std::vector<Wanted> wanted)
{
    m_thread.clear();
    std::list<Painted> dropped; // freed without the lock
    {
        const std::lock_guard lock(m_mutex);
        m_isWanted = !wanted.empty();
        if (!m_isWanted) {
            dropped.swap(m_painted);
        }
    }
    for (Wanted &each : wanted) {
        m_thread.start([this, one = std::move(each)] { make(one); });
    }
}

std::list<LayerPages> PagesAhead::takePages()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_made, {});
}

SpritePtr PagesAhead::painted(const TextBlock &block)
{
    const std::lock_guard lock(m_mutex);
    return find(block);
}

void PagesAhead::finish()
{
    m_thread.waitForDone();
}

/// On the thread. The text is made twice, of which the kept one is not painted.
void PagesAhead::make(const Wanted &wanted)
{
    giveWayToOthers();
    const VersePages pages = wanted.shown ? *wanted.shown : pagesFor(wanted);
    const auto text = [&] { return textOfPage(wanted.layer, pages, wanted.of.frame); };
    const auto block = text();
    if (!wanted.layer.visible || wanted.layer.opacity <= 0 || !block || painted(*block)) {
        return;
    }
    GlyphInk ink; // its fonts are this thread's
    keep({ *block, std::make_shared<const Sprite>(paintText(*text(), ink)) });
}

/// On the thread.
VersePages PagesAhead::pagesFor(const Wanted &wanted)
{
    {
        const std::lock_guard lock(m_mutex);
        const auto found = std::find_if(m_made.begin(),
            m_made.end(),
            [&wanted](const LayerPages &made) { return made.of == wanted.of; });
        if (found != m_made.end()) {
            return found->pages;
        }
    }
    VersePages pages = pagesOf(wanted.layer, wanted.of.frame);
    const std::lock_guard lock(m_mutex);
    m_made.push_front({ wanted.of, pages });
    if (m_made.size() > mostMade) {
        m_made.pop_back();
    }
    return pages;
}

/// Under the mutex. What is found is in front of the others then.
SpritePtr PagesAhead::find(const TextBlock &block)
{
    const auto found = std::find_if(m_painted.begin(),
        m_painted.end(),
        [&block](const Painted &painted) { return painted.block == block; });
    if (found == m_painted.end()) {
        return {};
    }
    m_painted.splice(m_painted.begin(), m_painted, found);
    return found->sprite;
}

/// On the thread. Drops those of longest ago that are too many.
void PagesAhead::keep(Painted painted)
{
    std::list<Painted> dropped; // freed without the lock
    const std::lock_guard lock(m_mutex);
    if (!m_isWanted) {
        return;
    }
    m_painted.push_front(std::move(painted));
    std::int64_t bytes = 0;
    std::size_t count = 0;
    const auto isTooMany = [&](const Painted &each) {
        bytes += each.sprite->image.sizeInBytes();
        return ++count > mostPainted || bytes > mostBytes;
    };
    const auto first = std::find_if(m_painted.begin(), m_painted.end(), isTooMany);
    dropped.splice(dropped.end(), m_painted, first, m_painted.end());
}

} // namespace nimbara
