#pragma once

#include "compositor/text/page_split.h"

#include <QFont>
#include <QString>

#include <vector>

namespace nimbara {

/// Counts the lines of a word-wrapped text by the widths of its words: never fewer than the text
/// takes when it is laid out, whatever part of it stands alone. Needs the application's fonts.
class PageRuler {
public:
    /// `width`: of the area, in pixels. `words` must outlive the ruler.
    PageRuler(const QString &text,
        const std::vector<PageWord> &words,
        const QFont &font,
        double width);

    /// The end of what begins with the word and takes at most so many lines, one word at least.
    [[nodiscard]] std::size_t reach(std::size_t first, std::int32_t lines) const;
    /// The lines of the whole text; at most one more than `most`.
    [[nodiscard]] std::int32_t lines(std::int32_t most) const;

private:
    [[nodiscard]] std::size_t
    count(std::size_t first, std::int32_t most, std::int32_t &lines) const;

    const std::vector<PageWord> &m_words;
    std::vector<double> m_widths;
    double m_blank;
    double m_room;
};

/// How many whole lines fit one below the other in a height in pixels.
std::int32_t linesIn(double height, const QFont &font);

} // namespace nimbara
