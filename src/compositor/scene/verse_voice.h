#pragma once

#include "compositor/text/page_pairs.h"
#include "compositor/text/text_block.h"

#include <QString>

#include <cstddef>
#include <cstdint>

namespace nimbara {

/// One of the texts of a verse layer, the passage in one Bible: what stands on a page of it.
class VerseVoice {
public:
    /// `numbers`: how they look (`verse_numbers`).
    VerseVoice(QString text, QString reference, std::int32_t numbers);

    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] const QString &reference() const { return m_reference; }
    [[nodiscard]] const PairedText &paired() const { return m_paired; }
    [[nodiscard]] const std::vector<PageWord> &words() const { return m_paired.words; }

    /// The words as they are shown, with what is raised in them. None for no words.
    [[nodiscard]] PlacedText shown(PageRange words) const;
    /// The reference of these verses alone; the words may begin in the middle of one.
    [[nodiscard]] QString referenceOf(PageRange words) const;
    /// No page has a longer one, but for lists, whose own is the longest.
    [[nodiscard]] QString widestReference() const;
    /// How many verses stand before the word; with a part of a verse behind the point.
    [[nodiscard]] double versesBefore(std::size_t word) const;

private:
    [[nodiscard]] QString source() const { return m_reference.mid(m_label.size()); }
    /// The verse that the place in the text is in.
    [[nodiscard]] std::size_t verseAt(qsizetype place) const;

    QString m_text;
    QString m_reference;
    std::int32_t m_numbers;
    QString m_label;
    PairedText m_paired;
};

} // namespace nimbara
