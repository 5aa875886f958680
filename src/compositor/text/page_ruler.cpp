#include "compositor/text/page_ruler.h"

#include <QFontMetricsF>
#include <QHash>

#include <algorithm>
#include <cmath>

namespace nimbara {

PageRuler::PageRuler(const QString &text,
    const std::vector<PageWord> &words,
    const QFont &font,
    double width)
    : m_words(words)
{
    const QFontMetricsF metrics(font);
    // Letters reach beyond their advance, and the layout leaves room for that.
    m_room = width - metrics.height() / 8;
    m_blank = metrics.horizontalAdvance(QLatin1Char(' '));
    QHash<QString, double> known;
    m_widths.reserve(words.size());
    for (const PageWord &word : words) {
        const QString letters = text.mid(word.begin, word.end - word.begin);
        const auto found = known.constFind(letters);
        m_widths.push_back(found != known.cend()
                ? *found
                : *known.insert(letters, metrics.horizontalAdvance(letters)));
    }
}

std::size_t PageRuler::count(std::size_t first, std::int32_t most, std::int32_t &lines) const
{
    lines = 1;
    double used = m_widths[first];
    for (std::size_t word = first + 1; word < m_words.size(); ++word) {
        const double blanks
            = m_blank * static_cast<double>(m_words[word].begin - m_words[word - 1].end);
        const double next = used + blanks + m_widths[word];
        if (m_words[word].lines > 0 || next > m_room) {
            lines += std::max(m_words[word].lines, 1);
            used = m_widths[word];
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

std::int32_t linesIn(double height, const QFont &font)
{
    const QFontMetricsF metrics(font);
    std::int32_t lines = 0;
    double used = -metrics.leading();
    for (;;) {
        used = std::ceil(used + metrics.leading()) + metrics.ascent() + metrics.descent();
        if (used > height || metrics.height() <= 0) {
            return lines;
        }
        ++lines;
    }
}

} // namespace nimbara
