#pragma once

#include "compositor/text/text_block.h"
#include "compositor/text/word_widths.h"

#include <QFont>
#include <QFontMetricsF>
#include <QString>
#include <QStringView>

#include <memory>
#include <vector>

namespace nimbara {

/// Divides words that are wider than a line at a letter, with a hyphen, so that none of their
/// letters is lost: the same for what counts the lines and for what is drawn. Needs the
/// application's fonts; one thread.
class WordBreaks {
public:
    /// `width`: of a line, in pixels.
    WordBreaks(const QFont &font, double width);

    /// What words have of the line, in pixels.
    [[nodiscard]] double room() const { return m_room; }
    /// How wide the word is as a whole, in pixels.
    [[nodiscard]] double width(QStringView word) const { return m_widths->width(word, m_metrics); }
    /// No line holds the word.
    [[nodiscard]] bool isWide(QStringView word) const;
    /// The same of any word of a text.
    [[nodiscard]] bool hasWide(QStringView text) const;
    struct Part {
        QStringView letters; ///< of the word
        bool isHyphened = false; ///< a hyphen is added behind them
    };
    /// The word in parts that stand on lines of their own; one where a line holds it.
    [[nodiscard]] std::vector<Part> parts(QStringView word) const;
    /// The text with its wide words on such lines.
    [[nodiscard]] PlacedText divided(const PlacedText &text) const;

private:
    [[nodiscard]] qsizetype endOfPart(QStringView rest) const;

    QFontMetricsF m_metrics;
    std::shared_ptr<WordWidths> m_widths;
    double m_room;
    double m_widest; ///< no letter is wider, in pixels
};

} // namespace nimbara
