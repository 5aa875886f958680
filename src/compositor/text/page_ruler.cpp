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
    , m_breaks(font, width)
    , m_measures(words.size())
    , m_blank(QFontMetricsF(font).horizontalAdvance(QLatin1Char(' ')))
{
}

const PageRuler::Measure &PageRuler::measure(std::size_t word) const
{
    Measure &known = m_measures[word];
    if (known.width < 0) {
        const PageWord &place = m_words[word];
        const QStringView letters = QStringView(m_text).mid(place.begin, place.end - place.begin);
        const auto found = m_known.constFind(letters);
        known = found != m_known.cend() ? *found : *m_known.insert(letters, measured(letters));
    }
    return known;
}

PageRuler::Measure PageRuler::measured(QStringView word) const
{
    if (!m_breaks.isWide(word)) {
        return { m_breaks.width(word), 0 };
    }
    const std::vector<WordBreaks::Part> parts = m_breaks.parts(word);
    return { m_breaks.width(parts.back().letters), static_cast<std::int32_t>(parts.size()) - 1 };
}

double PageRuler::blanksBefore(std::size_t word) const
{
    return m_blank * static_cast<double>(m_words[word].begin - m_words[word - 1].end);
}

void PageRuler::Lines::add(PageRange words)
{
    for (std::size_t word = words.first; word < words.end; ++word) {
        const Measure &measure = m_ruler.measure(word);
        const std::int32_t breaks = m_ended ? 0 : m_ruler.m_words[word].lines;
        const double next
            = m_ended ? measure.width : m_used + m_ruler.blanksBefore(word) + measure.width;
        if (m_ended || breaks > 0 || measure.more > 0 || next > m_ruler.m_breaks.room()) {
            m_count += std::max(breaks, 1) + measure.more;
            m_used = measure.width;
        } else {
            m_used = next;
        }
        m_ended = false;
    }
}

std::size_t PageRuler::count(std::size_t first, std::int32_t most, std::int32_t &lines) const
{
    lines = 1 + measure(first).more;
    double used = measure(first).width;
    for (std::size_t word = first + 1; word < m_words.size(); ++word) {
        const Measure &added = measure(word);
        const double next = used + blanksBefore(word) + added.width;
        if (m_words[word].lines > 0 || added.more > 0 || next > m_breaks.room()) {
            lines += std::max(m_words[word].lines, 1) + added.more;
            used = added.width;
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

bool PageRuler::holdsWords(std::int32_t lines) const
{
    for (std::size_t word = 0; word < m_words.size();) {
        const std::size_t first = word++;
        while (word < m_words.size() && m_words[word].before == PageEnd::Never) {
            ++word;
        }
        Lines together(*this);
        together.add({ first, word });
        if (together.count() > std::max(lines, 1)) {
            return false;
        }
    }
    return true;
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
