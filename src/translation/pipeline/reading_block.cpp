#include "translation/pipeline/reading_block.h"

#include <QRegularExpression>
#include <QSet>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>
#include <vector>

namespace nimbara::reading {

namespace {

/// Both kinds of letters fill a line of so many units exactly.
constexpr std::int32_t lineUnits = lineColumns * wideLineColumns;
constexpr std::int32_t narrowUnits = wideLineColumns;
constexpr std::int32_t wideUnits = lineColumns;
/// A block that is read faster than it may go away again is a waste of time.
constexpr std::int32_t shortBlockUnits = 22 * narrowUnits;
constexpr std::int32_t shortRestUnits = 15 * narrowUnits;

/// Blocks of Unicode whose letters are of full width (UAX #11, "W" and "F").
constexpr std::array<std::pair<char32_t, char32_t>, 13> wideBlocks { {
    { 0x1100, 0x115f },
    { 0x2e80, 0x303e },
    { 0x3041, 0x4dbf },
    { 0x4e00, 0xa4cf },
    { 0xa960, 0xa97c },
    { 0xac00, 0xd7a3 },
    { 0xf900, 0xfaff },
    { 0xfe30, 0xfe6f },
    { 0xff00, 0xff60 },
    { 0xffe0, 0xffe6 },
    { 0x1f300, 0x1f64f },
    { 0x1f900, 0x1f9ff },
    { 0x20000, 0x3fffd },
} };

std::int32_t unitsOf(char32_t letter)
{
    switch (QChar::category(letter)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        break;
    }
    const bool wide = std::any_of(wideBlocks.begin(), wideBlocks.end(), [&](const auto &block) {
        return letter >= block.first && letter <= block.second;
    });
    return wide ? wideUnits : narrowUnits;
}

std::int32_t unitsOf(const QString &text)
{
    std::int32_t sum = 0;
    for (const char32_t letter : text.toUcs4()) {
        sum += unitsOf(letter);
    }
    return sum;
}

bool isHangul(char32_t letter)
{
    return QChar::script(letter) == QChar::Script_Hangul;
}

/// Hangul is of full width, and has blanks between its words all the same.
bool isWithinHangul(const QString &text, qsizetype at)
{
    return at > 0 && at < text.size() && isHangul(text.at(at - 1).unicode())
        && isHangul(text.at(at).unicode());
}

/// How well a text is cut behind a piece.
enum class Break { Bad, Plain, Joining, Clause, Sentence };

struct Piece {
    QString text; ///< without blanks
    bool blankAfter = false;
    std::int32_t units = 0;
    Break after = Break::Plain;
};
using Pieces = std::vector<Piece>;

/// They belong to what follows them.
bool isLeading(const QString &word)
{
    static const QSet<QString> words = [] {
        const QString all = QStringLiteral(
            "a al con de del desde e el en entre es esta este hacia hasta la las lo los mi muy no "
            "o "
            "para por que se sin sobre su sus tu un una unos y "
            "an and are as at be but by for from has have his her i in into is it its my not of on "
            "or our over that the their this to very was we were with you your "
            "da do dos das em na no nos nas um uma os as du des le les une et ou");
        const QStringList list = all.split(QLatin1Char(' '));
        return QSet<QString>(list.begin(), list.end());
    }();
    return words.contains(word);
}

/// They begin a clause.
bool isJoining(const QString &word)
{
    static const QSet<QString> words { QStringLiteral("y"),
        QStringLiteral("e"),
        QStringLiteral("o"),
        QStringLiteral("pero"),
        QStringLiteral("porque"),
        QStringLiteral("que"),
        QStringLiteral("cuando"),
        QStringLiteral("como"),
        QStringLiteral("sino"),
        QStringLiteral("and"),
        QStringLiteral("or"),
        QStringLiteral("but"),
        QStringLiteral("because"),
        QStringLiteral("that"),
        QStringLiteral("which"),
        QStringLiteral("who"),
        QStringLiteral("when"),
        QStringLiteral("so") };
    return words.contains(word);
}

Break markAfter(const QString &text)
{
    static const QString closing = QStringLiteral("\"'”’»)]」』");
    qsizetype end = text.size();
    while (end > 0 && closing.contains(text.at(end - 1))) {
        --end;
    }
    if (end == 0) {
        return Break::Plain;
    }
    const QChar last = text.at(end - 1);
    if (QStringLiteral(".?!…。！？").contains(last)) {
        return Break::Sentence;
    }
    return QStringLiteral(",;:—–、，；：").contains(last) ? Break::Clause : Break::Plain;
}

/// What is longer than a line is cut where it must be, between whole characters.
void appendPiece(Pieces &pieces, QString text, bool blankAfter)
{
    while (unitsOf(text) > lineUnits) {
        QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, text);
        qsizetype end = letters.toNextBoundary();
        for (qsizetype next = end; next > 0 && unitsOf(text.left(next)) <= lineUnits;
             next = letters.toNextBoundary()) {
            end = next;
        }
        pieces.push_back({ text.left(end), false, unitsOf(text.left(end)), Break::Plain });
        text = text.mid(end);
    }
    if (!text.isEmpty()) {
        pieces.push_back({ text, blankAfter, unitsOf(text), markAfter(text) });
    }
}

Pieces piecesOf(const QString &text)
{
    Pieces pieces;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
    qsizetype from = 0;
    while (from < text.size()) {
        qsizetype to = finder.toNextBoundary();
        while (isWithinHangul(text, to)) {
            to = finder.toNextBoundary();
        }
        to = to < 0 ? text.size() : to;
        const QString piece = text.mid(from, to - from);
        appendPiece(pieces, piece.trimmed(), piece.back().isSpace());
        from = to;
    }
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
        Break &after = pieces[i].after;
        if (after == Break::Plain && isLeading(pieces[i].text.toLower())) {
            after = Break::Bad;
        } else if (after == Break::Plain && isJoining(pieces[i + 1].text.toLower())) {
            after = Break::Joining;
        }
    }
    return pieces;
}

/// The units of the pieces from `from` up to `to`, on one line.
std::int32_t unitsOf(const Pieces &pieces, std::size_t from, std::size_t to)
{
    std::int32_t sum = 0;
    for (std::size_t i = from; i < to; ++i) {
        sum += pieces[i].units;
        sum += i + 1 < to && pieces[i].blankAfter ? narrowUnits : 0;
    }
    return sum;
}

QString textOf(const Pieces &pieces, std::size_t from, std::size_t to)
{
    QString text;
    for (std::size_t i = from; i < to; ++i) {
        text += pieces[i].text;
        if (i + 1 < to && pieces[i].blankAfter) {
            text += QLatin1Char(' ');
        }
    }
    return text;
}

/// Where the second line of the first `count` pieces begins: `count` when one line holds them all,
/// 0 when two do not.
std::size_t lineBreak(const Pieces &pieces, std::size_t count)
{
    if (unitsOf(pieces, 0, count) <= lineUnits) {
        return count;
    }
    std::size_t best = 0;
    std::int32_t leastCost = 0;
    for (std::size_t at = 1; at < count; ++at) {
        const std::int32_t first = unitsOf(pieces, 0, at);
        const std::int32_t second = unitsOf(pieces, at, count);
        if (first > lineUnits || second > lineUnits) {
            continue;
        }
        // A good place is worth lines that differ by some words.
        const std::int32_t cost = std::abs(first - second) / narrowUnits
            - 8 * static_cast<std::int32_t>(pieces[at - 1].after);
        if (best == 0 || cost < leastCost) {
            best = at;
            leastCost = cost;
        }
    }
    return best;
}

/// How good it is to end a block with the first `count` pieces, of which `most` would fit.
double worthOfEnd(const Pieces &pieces, std::size_t count, std::size_t most)
{
    constexpr std::array<double, 5> bonus { -0.3, 0, 0.15, 0.35, 0.6 };
    const std::int32_t units = unitsOf(pieces, 0, count);
    const double fill = static_cast<double>(units) / unitsOf(pieces, 0, most);
    double worth = fill + bonus.at(static_cast<std::size_t>(pieces[count - 1].after));
    worth -= units < shortBlockUnits ? 1 : 0;
    worth -= unitsOf(pieces, count, pieces.size()) < shortRestUnits ? 0.5 : 0;
    return worth;
}

std::size_t blockEnd(const Pieces &pieces)
{
    std::size_t most = 0;
    while (most < pieces.size() && lineBreak(pieces, most + 1) > 0) {
        ++most;
    }
    if (most == pieces.size()) {
        return most;
    }
    std::size_t best = most;
    for (std::size_t count = most; count > 0; --count) {
        if (worthOfEnd(pieces, count, most) > worthOfEnd(pieces, best, most)) {
            best = count;
        }
    }
    return best;
}

} // namespace

std::int32_t columns(const QString &text)
{
    return (unitsOf(text) + narrowUnits - 1) / narrowUnits;
}

bool takesBlank(const QString &text)
{
    const QList<uint> letters = text.toUcs4();
    if (letters.isEmpty()) {
        return true;
    }
    const char32_t last = letters.last();
    const bool isPicture = last >= 0x1f000 && last < 0x20000;
    return unitsOf(last) != wideUnits || isPicture || isHangul(last);
}

bool fitsLine(const QString &text)
{
    return unitsOf(text) <= lineUnits;
}

Cut takeBlock(const QString &text)
{
    const Pieces pieces = piecesOf(text.simplified());
    if (pieces.empty()) {
        return {};
    }
    const std::size_t end = blockEnd(pieces);
    const std::size_t second = lineBreak(pieces, end);
    Cut cut { { textOf(pieces, 0, second) }, textOf(pieces, end, pieces.size()) };
    if (second < end) {
        cut.lines.append(textOf(pieces, second, end));
    }
    return cut;
}

QString spokenText(const QString &text)
{
    static const QRegularExpression sounds(
        QStringLiteral(R"(\[[^\]]*\]|♪[^♪]*♪|[♪♫]|^\s*\([^)]*\)[.\s]*$|^\s*\*[^*]*\*[.\s]*$)"));
    const QString rest = QString(text).remove(sounds).simplified();
    const bool hasWord = std::any_of(rest.begin(), rest.end(), [](QChar letter) {
        return letter.isLetterOrNumber() || letter.isSurrogate();
    });
    return hasWord ? rest : QString();
}

} // namespace nimbara::reading
