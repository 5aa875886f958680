#include "compositor/text/word_breaks.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace nimbara {

namespace {

constexpr QLatin1Char hyphen('-');
constexpr double widestLetter = 1.3; ///< of the font's height
constexpr qsizetype fewestLetters = 3; ///< that a line begins with behind a hyphen

/// A line may end here as it is.
bool endsPart(QChar sign)
{
    return sign == hyphen || sign == QChar(0x2010) || sign == QChar(0x2013)
        || sign == QChar(0x2014);
}

/// Where the letters of the word end, marks that belong to one included.
std::vector<qsizetype> letterEnds(QStringView word)
{
    std::vector<qsizetype> ends;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, word.data(), word.size());
    for (qsizetype end = finder.toNextBoundary(); end > 0; end = finder.toNextBoundary()) {
        ends.push_back(end);
    }
    return ends;
}

/// Visits the words of a text with their places.
template <typename Visit> void forEachWord(QStringView text, Visit visit)
{
    for (qsizetype begin = 0; begin < text.size(); ++begin) {
        qsizetype end = begin;
        while (end < text.size() && !text[end].isSpace()) {
            ++end;
        }
        if (end > begin) {
            visit(begin, text.mid(begin, end - begin));
        }
        begin = end;
    }
}

/// `length` signs come to stand before the place.
void moveRaised(std::vector<RaisedSpan> &raised, qsizetype place, qsizetype length)
{
    for (RaisedSpan &span : raised) {
        if (place <= span.at) {
            span.at += length;
        } else if (place < span.at + span.length) {
            span.length += length;
        }
    }
}

} // namespace

WordBreaks::WordBreaks(const QFont &font, double width)
    : m_metrics(font)
    , m_widths(WordWidths::of(font))
    // Letters reach beyond their advance, and the layout leaves room for that.
    , m_room(width - m_metrics.height() / 8)
    , m_widest(m_metrics.height() * widestLetter)
{
}

bool WordBreaks::isWide(QStringView word) const
{
    const bool mayBe = static_cast<double>(word.size()) * m_widest > m_room;
    return mayBe && m_room > 0 && width(word) > m_room;
}

bool WordBreaks::hasWide(QStringView text) const
{
    bool found = false;
    forEachWord(text, [&](qsizetype, QStringView word) { found = found || isWide(word); });
    return found;
}

/// As many letters as the line holds, one at least; no word's last one or two are left alone.
qsizetype WordBreaks::endOfPart(QStringView rest) const
{
    const std::vector<qsizetype> ends = letterEnds(rest);
    std::size_t count = 1;
    std::size_t atSign = 0;
    for (; count < ends.size(); ++count) {
        const QStringView part = rest.left(ends[count]);
        const bool isEnd = endsPart(part.back());
        const double used = isEnd ? width(part) : width(part.toString() + hyphen);
        if (used > m_room) {
            break;
        }
        atSign = isEnd ? count + 1 : atSign;
    }
    if (atSign > 0) {
        return ends[atSign - 1];
    }
    const auto left = static_cast<qsizetype>(ends.size() - count);
    const auto spare = static_cast<qsizetype>(count) - 1;
    const qsizetype moved = std::min(std::max(fewestLetters - left, qsizetype { 0 }), spare);
    return ends[count - 1 - static_cast<std::size_t>(moved)];
}

std::vector<WordBreaks::Part> WordBreaks::parts(QStringView word) const
{
    std::vector<Part> parts;
    while (width(word) > m_room) {
        const qsizetype end = endOfPart(word);
        if (end >= word.size()) {
            break; // one letter, wider than the line
        }
        const QStringView part = word.left(end);
        parts.push_back({ part, !endsPart(part.back()) });
        word = word.mid(end);
    }
    parts.push_back({ word, false });
    return parts;
}

PlacedText WordBreaks::divided(const PlacedText &text) const
{
    PlacedText divided = text;
    qsizetype added = 0;
    forEachWord(text.text, [&](qsizetype begin, QStringView word) {
        if (!isWide(word)) {
            return;
        }
        qsizetype end = begin;
        const std::vector<Part> lines = parts(word);
        for (std::size_t line = 0; line + 1 < lines.size(); ++line) {
            end += lines[line].letters.size();
            const QString ending
                = lines[line].isHyphened ? QStringLiteral("-\n") : QStringLiteral("\n");
            divided.text.insert(end + added, ending);
            moveRaised(divided.raised, end + added, ending.size());
            added += ending.size();
        }
    });
    return divided;
}

} // namespace nimbara
