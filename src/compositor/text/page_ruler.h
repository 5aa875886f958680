#pragma once

#include "compositor/text/page_split.h"
#include "compositor/text/word_breaks.h"

#include <QFont>
#include <QHash>
#include <QString>
#include <QStringView>

#include <vector>

namespace nimbara {

/// Counts the lines of a word-wrapped text by the widths of its words: never fewer than the text
/// takes when it is laid out, whatever part of it stands alone. Words wider than a line are divided
/// (`WordBreaks`). A word is measured when it is first asked for. Needs the application's fonts.
class PageRuler {
public:
    /// `width`: of the area, in pixels. `words`, of the text, must outlive the ruler.
    PageRuler(QString text, const std::vector<PageWord> &words, const QFont &font, double width);

    /// The end of what begins with the word and takes at most so many lines, one word at least.
    [[nodiscard]] std::size_t reach(std::size_t first, std::int32_t lines) const;
    /// The lines of the whole text; at most one more than `most`.
    [[nodiscard]] std::int32_t lines(std::int32_t most) const;

    /// Counts the lines of words that are added one by one, in order.
    class Lines {
    public:
        explicit Lines(const PageRuler &ruler)
            : m_ruler(ruler)
        {
        }
        void add(PageRange words);
        /// The next word begins a line.
        void end() { m_ended = true; }
        [[nodiscard]] std::int32_t count() const { return m_count; }

    private:
        const PageRuler &m_ruler;
        std::int32_t m_count = 0;
        double m_used = 0;
        bool m_ended = true;
    };

    /// No part of the text needs more lines for one word than so many, a verse number before it
    /// included.
    [[nodiscard]] bool holdsWords(std::int32_t lines) const;

private:
    struct Measure {
        double width = -1; ///< below 0: not measured yet; of a divided word, its last part's
        std::int32_t more = 0; ///< lines behind the first one of a divided word
    };
    [[nodiscard]] const Measure &measure(std::size_t word) const;
    [[nodiscard]] Measure measured(QStringView word) const;
    [[nodiscard]] double blanksBefore(std::size_t word) const;
    [[nodiscard]] std::size_t
    count(std::size_t first, std::int32_t most, std::int32_t &lines) const;

    const std::vector<PageWord> &m_words;
    QString m_text;
    WordBreaks m_breaks;
    mutable std::vector<Measure> m_measures;
    mutable QHash<QStringView, Measure> m_known; ///< by the words' letters, in `m_text`
    double m_blank;
};

/// How many whole lines fit one below the other in a height in pixels. `spacing`: of lines, in
/// percent of the font's.
std::int32_t linesIn(double height, const QFont &font, std::int32_t spacing = 100);

} // namespace nimbara
