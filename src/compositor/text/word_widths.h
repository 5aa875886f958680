#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QHash>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <memory>

namespace nimbara {

/// How wide words are in one font. To shape each word of a long chapter takes longer than all the
/// rest of splitting it into pages, so a word is put together from the widths of its letters and
/// of each two neighbours, which hold their kerning. Words of other scripts or with a ligature of
/// three letters, and all words of a font that joins letters otherwise, are shaped. Needs the
/// application's fonts; one thread.
class WordWidths {
public:
    /// Those of the font, remembered on the thread with those of the last few fonts.
    static std::shared_ptr<WordWidths> of(const QFont &font);

    explicit WordWidths(const QFont &font);

    /// In pixels. `metrics`: of the font.
    double width(QStringView word, const QFontMetricsF &metrics);

private:
    double joined(QStringView word, const QFontMetricsF &metrics);

    bool m_joins = true; ///< a word is as wide as its letters and their kerning
    QHash<std::uint32_t, double> m_known; ///< of letters and of two neighbours, by their codes
};

} // namespace nimbara
