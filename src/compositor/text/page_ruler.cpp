#include "compositor/text/page_ruler.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace nimbara {

PageRuler::PageRuler(QString text,
    const std::vector<PageWord> &words,
    const QFont &font,
    double width)
    : m_words(words)
    , m_text(std::move(text))
    , m_metrics(font)
    , m_font(WordWidths::of(font))
    , m_widths(words.size(), -1)
    , m_blank(m_metrics.horizontalAdvance(QLatin1Char(' ')))
    // Letters reach beyond their advance, and the layout leaves room for that.
    , m_room(width - m_metrics.height() / 8)
{
}

double PageRuler::width(std::size_t word) const
{
    double &known = m_widths[word];
    if (known < 0) {
        const PageWord &place = m_words[word];
        const QStringView letters = QStringView(m_text).mid(place.begin, place.end - place.begin);
        const auto found = m_known.constFind(letters);
        known = found != m_known.cend()
            ? *found
            : *m_known.insert(letters, m_font->width(letters, m_metrics));
    }
    return known;
}

double PageRuler::blanksBefore(std::size_t word) const
{
    return m_blank * static_cast<double>(m_words[word].begin - m_words[word - 1].end);
}

void PageRuler::Lines::add(PageRange words)
{
    for (std::size_t word = words.first; word < words.end; ++word) {
        const double width = m_ruler.width(word);
        const std::int32_t breaks = m_ended ? 0 : m_ruler.m_words[word].lines;
        const double next = m_ended ? width : m_used + m_ruler.blanksBefore(word) + width;
        if (m_ended || breaks > 0 || next > m_ruler.m_room) {
            m_count += std::max(breaks, 1);
            m_used = width;
        } else {
            m_used = next;
        }
        m_ended = false;
    }
}

std::size_t PageRuler::count(std::size_t first, std::int32_t most, std::int32_t &lines) const
{
    lines = 1;
    double used = width(first);
    for (std::size_t word = first + 1; word < m_words.size(); ++word) {
        const double next = used + blanksBefore(word) + width(word);
        if (m_words[word].lines > 0 || next > m_room) {
            lines += std::max(m_words[word].lines, 1);
            used = width(word);
        } else {
            used = next;
        }
        if (lines > most) {
            return word;
        }
    }
    return m_words.size();
}

std::size_t PageRuler::reach(std::size_t first, std::int32_t most) const
{
    std::int32_t lines = 0;
    return count(first, most, lines);
}

std::int32_t PageRuler::lines(std::int32_t most) const
{
    std::int32_t lines = 0;
    if (!m_words.empty()) {
        static_cast<void>(count(0, most, lines));
    }
    return std::min(lines, most + 1);
}

std::int32_t linesIn(double height, const QFont &font, std::int32_t spacing)
{
    const QFontMetricsF metrics(font);
    std::int32_t lines = 0;
    const double leading = metrics.leading() + metrics.lineSpacing() * (spacing - 100) / 100;
    double used = -leading;
    for (;;) {
        used = std::ceil(used + leading) + metrics.ascent() + metrics.descent();
        if (used > height || metrics.height() <= 0) {
            return lines;
        }
        ++lines;
    }
}

} // namespace nimbara
