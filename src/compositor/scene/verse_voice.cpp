#include "compositor/scene/verse_voice.h"

#include "document/layer.h"

#include <algorithm>
#include <utility>

namespace nimbara {

VerseVoice::VerseVoice(QString text, QString reference, std::int32_t numbers)
    : m_text(std::move(text))
    , m_reference(std::move(reference))
    , m_numbers(numbers)
    , m_label(m_reference.section(QStringLiteral(" · "), 0, 0))
    , m_paired(pairedText(m_text, m_label))
{
}

PlacedText VerseVoice::shown(PageRange words) const
{
    if (words.first == words.end) {
        return {};
    }
    const bool isAll = words.first == 0 && words.end == m_paired.words.size();
    const qsizetype begin = isAll ? 0 : m_paired.words[words.first].begin;
    const qsizetype end = isAll ? m_text.size() : m_paired.words[words.end - 1].end;
    if (m_numbers == verse_numbers::plain) {
        return { m_text.mid(begin, end - begin), {} };
    }
    PlacedText shown;
    qsizetype from = begin;
    for (const VerseMark &mark : m_paired.marks) {
        if (mark.at < begin || mark.at >= end) {
            continue;
        }
        shown.text += QStringView(m_text).mid(from, mark.at - from);
        from = mark.end;
        if (m_numbers == verse_numbers::raised) {
            shown.raised.push_back({ shown.text.size(), mark.end - mark.at });
            shown.text += QStringView(m_text).mid(mark.at, mark.end - mark.at);
        } else {
            while (from < end && m_text.at(from).isSpace()) {
                ++from;
            }
        }
    }
    shown.text += QStringView(m_text).mid(from, end - from);
    return shown;
}

std::size_t VerseVoice::verseAt(qsizetype place) const
{
    const auto next = std::find_if(m_paired.marks.begin(),
        m_paired.marks.end(),
        [place](const VerseMark &mark) { return mark.at > place; });
    return static_cast<std::size_t>(std::max(next - m_paired.marks.begin(), 1L) - 1);
}

QString VerseVoice::referenceOf(PageRange words) const
{
    if (m_paired.marks.empty() || words.first == words.end) {
        return m_reference;
    }
    const std::size_t first = verseAt(m_paired.words[words.first].begin);
    const std::size_t last = verseAt(m_paired.words[words.end - 1].begin);
    return first == 0 && last + 1 == m_paired.marks.size()
        ? m_reference
        : labelOf(m_label, m_paired.marks, first, last) + source();
}

QString VerseVoice::widestReference() const
{
    const std::vector<VerseMark> &marks = m_paired.marks;
    if (marks.empty()) {
        return m_reference;
    }
    const auto byVerse = [](const VerseMark &a, const VerseMark &b) { return a.verse < b.verse; };
    const VerseMark widest { 0,
        0,
        marks.back().chapter,
        std::max_element(marks.begin(), marks.end(), byVerse)->verse };
    const QString chapter = widest.chapter > marks.front().chapter
        ? QString::number(widest.chapter) + QLatin1Char(':')
        : QString();
    return labelOf(m_label, { widest }, 0, 0) + QLatin1Char('-') + chapter
        + QString::number(widest.verse) + source();
}

double VerseVoice::versesBefore(std::size_t word) const
{
    if (word >= m_paired.words.size()) {
        return static_cast<double>(std::max(m_paired.marks.size(), std::size_t { 1 }));
    }
    const qsizetype place = m_paired.words[word].begin;
    const std::vector<VerseMark> &marks = m_paired.marks;
    const std::size_t verse = verseAt(place);
    const qsizetype begin = marks.empty() ? 0 : marks[verse].at;
    const qsizetype end = verse + 1 < marks.size() ? marks[verse + 1].at : m_text.size();
    return static_cast<double>(verse)
        + static_cast<double>(place - begin)
        / static_cast<double>(std::max(end - begin, qsizetype { 1 }));
}

} // namespace nimbara
