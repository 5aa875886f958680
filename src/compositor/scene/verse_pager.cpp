#include "compositor/scene/verse_pager.h"

#include "compositor/scene/picture_fit.h"
#include "compositor/text/page_ruler.h"
#include "compositor/text/page_split.h"
#include "compositor/text/text_block.h"
#include "compositor/text/text_layout.h"
#include "compositor/text/verse_marks.h"

#include <algorithm>

namespace nimbara {

namespace {

/// Longer texts, in characters, are measured by their words alone.
constexpr qsizetype maxLaidOut = 1500;

/// The lines and words of one layer, at any size of its letters.
class Paging {
public:
    Paging(const Layer &layer, FrameSize frame)
        : m_layer(layer)
        , m_frame(frame)
        , m_box(pixelBox(QRectF(layer.x, layer.y, layer.w, layer.h), frame))
        , m_label(layer.reference.section(QStringLiteral(" · "), 0, 0))
        , m_marks(verseMarks(layer.text, m_label))
        , m_words(pageWords(layer.text, numbers()))
    {
    }

    [[nodiscard]] bool isEmpty() const { return m_words.empty() || area(m_layer.size).isEmpty(); }

    /// The whole text fits on one page with letters of the size.
    [[nodiscard]] bool fits(std::int32_t size) const
    {
        const QRectF room = area(size);
        if (m_layer.text.size() <= maxLaidOut) {
            const QString text = m_layer.reference.isEmpty()
                ? m_layer.text
                : m_layer.text + QLatin1Char('\n') + m_layer.reference;
            return wrappedHeight(text, font(size), room.width()) <= room.height();
        }
        const std::int32_t lines = linesForText(size);
        return PageRuler(m_layer.text, m_words, font(size), room.width()).lines(lines) <= lines;
    }

    [[nodiscard]] std::vector<VersePage> split(std::int32_t size) const
    {
        const PageRuler ruler(m_layer.text, m_words, font(size), area(size).width());
        const std::int32_t lines = linesForText(size);
        std::vector<VersePage> pages;
        for (const PageRange &range :
            splitPages(m_words, [&](std::size_t first) { return ruler.reach(first, lines); })) {
            const qsizetype begin = m_words[range.first].begin;
            const qsizetype end = m_words[range.end - 1].end;
            pages.push_back({ begin, end, referenceOf(begin, end) });
        }
        return pages;
    }

private:
    [[nodiscard]] std::vector<qsizetype> numbers() const
    {
        std::vector<qsizetype> places;
        for (const VerseMark &mark : m_marks) {
            places.push_back(mark.at);
        }
        return places;
    }

    [[nodiscard]] TextBlock block(std::int32_t size) const
    {
        Layer sized = m_layer;
        sized.size = size;
        sized.text.clear();
        return *layerText(sized, m_box, m_frame.height, QRect(0, 0, m_frame.width, m_frame.height));
    }
    [[nodiscard]] QFont font(std::int32_t size) const { return block(size).font; }
    [[nodiscard]] QRectF area(std::int32_t size) const { return block(size).draws.front().area; }

    /// What the reference line leaves, one line at least.
    [[nodiscard]] std::int32_t linesForText(std::int32_t size) const
    {
        const QRectF room = area(size);
        const std::int32_t all = linesIn(room.height(), font(size));
        std::int32_t taken = 0;
        for (const QString &reference : { m_layer.reference, widestReference() }) {
            const std::vector<PageWord> words = pageWords(reference, {});
            taken
                = std::max(taken, PageRuler(reference, words, font(size), room.width()).lines(all));
        }
        return std::max(all - taken, 1);
    }

    /// No page has a longer one, but for lists, whose own is the longest.
    [[nodiscard]] QString widestReference() const
    {
        if (m_marks.empty()) {
            return m_layer.reference;
        }
        const auto byVerse
            = [](const VerseMark &a, const VerseMark &b) { return a.verse < b.verse; };
        const VerseMark widest { 0,
            0,
            m_marks.back().chapter,
            std::max_element(m_marks.begin(), m_marks.end(), byVerse)->verse };
        const QString chapter = widest.chapter > m_marks.front().chapter
            ? QString::number(widest.chapter) + QLatin1Char(':')
            : QString();
        return labelOf(m_label, { widest }, 0, 0) + QLatin1Char('-') + chapter
            + QString::number(widest.verse) + source();
    }

    [[nodiscard]] QString source() const { return m_layer.reference.mid(m_label.size()); }

    /// The page may begin in the middle of a verse.
    [[nodiscard]] QString referenceOf(qsizetype begin, qsizetype end) const
    {
        if (m_marks.empty()) {
            return m_layer.reference;
        }
        const auto before = [this](qsizetype place) {
            const auto next = std::find_if(m_marks.begin(),
                m_marks.end(),
                [place](const VerseMark &mark) { return mark.at >= place; });
            return static_cast<std::size_t>(std::max(next - m_marks.begin(), 1L) - 1);
        };
        const std::size_t first = before(begin + 1);
        const std::size_t last = before(end);
        return first == 0 && last + 1 == m_marks.size()
            ? m_layer.reference
            : labelOf(m_label, m_marks, first, last) + source();
    }

    const Layer &m_layer;
    FrameSize m_frame;
    QRectF m_box;
    QString m_label;
    std::vector<VerseMark> m_marks;
    std::vector<PageWord> m_words;
};

/// The largest size from `smallest` on that shows everything on one page; `smallest` does.
std::int32_t largestFitting(const Paging &paging, std::int32_t smallest, std::int32_t size)
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
    kept.paged = layer.paged;
    kept.smallest = layer.smallest;
    return kept;
}

} // namespace

std::size_t VersePages::shown(const Layer &layer) const
{
    return std::min(static_cast<std::size_t>(std::max(layer.page, 0)), pages.size() - 1);
}

VersePages pagesOf(const Layer &layer, FrameSize frame)
{
    VersePages whole { layer.size, { { 0, layer.text.size(), layer.reference } } };
    if (layer.kind != LayerKind::Verse || !layer.paged) {
        return whole;
    }
    const Paging paging(layer, frame);
    if (paging.isEmpty() || paging.fits(layer.size)) {
        return whole;
    }
    const std::int32_t smallest
        = std::clamp(layer.size * layer.smallest / 100, Layer::minSize, layer.size);
    if (paging.fits(smallest)) {
        whole.size = largestFitting(paging, smallest, layer.size);
        return whole;
    }
    return { smallest, paging.split(smallest) };
}

Layer pageShown(const Layer &layer, const VersePages &pages)
{
    const VersePage &page = pages.pages[pages.shown(layer)];
    Layer shown = layer;
    shown.size = pages.size;
    shown.text = layer.text.mid(page.begin, page.end - page.begin);
    shown.reference = page.reference;
    shown.paged = false;
    shown.page = 0;
    return shown;
}

const VersePages &VersePager::pages(const Layer &layer, FrameSize frame)
{
    const Layer asked = pagedFields(layer);
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry &entry) {
        return entry.layer == asked && entry.frame == frame;
    });
    if (found != m_entries.end()) {
        m_entries.splice(m_entries.begin(), m_entries, found);
    } else {
        m_entries.push_front({ asked, frame, pagesOf(layer, frame) });
        if (m_entries.size() > most) {
            m_entries.pop_back();
        }
    }
    return m_entries.front().pages;
}

} // namespace nimbara
