#include "compositor/text/verse_marks.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace nimbara {

namespace {

struct Place {
    std::int32_t chapter = 0;
    std::int32_t verse = 0;

    bool operator==(const Place &) const = default;
};

/// A span of a label, "3:36-4:2".
struct Span {
    Place start;
    Place last; ///< verse 0: the end of the chapter
};

/// A label taken apart.
struct Label {
    QString book;
    std::vector<Span> spans;
};

Label taken(const QString &label)
{
    static const QRegularExpression form(QStringLiteral("^(.+?) (\\d[\\d:,;\\- ]*)$"));
    static const QRegularExpression comma(QStringLiteral("[,;]"));
    const auto match = form.match(label);
    Label parts { match.captured(1), {} };
    std::int32_t chapter = 0;
    const bool hasVerses = match.captured(2).contains(QLatin1Char(':'));
    for (const QString &span : match.captured(2).split(comma, Qt::SkipEmptyParts)) {
        const QString first = span.section(QLatin1Char('-'), 0, 0).trimmed();
        const QString last = span.section(QLatin1Char('-'), -1).trimmed();
        if (first.contains(QLatin1Char(':')) || !hasVerses) {
            chapter = first.section(QLatin1Char(':'), 0, 0).toInt();
        }
        Span read { { chapter, hasVerses ? first.section(QLatin1Char(':'), -1).toInt() : 1 },
            { chapter, hasVerses ? last.section(QLatin1Char(':'), -1).toInt() : 0 } };
        if (last.contains(QLatin1Char(':')) || !hasVerses) {
            chapter = last.section(QLatin1Char(':'), 0, 0).toInt();
            read.last.chapter = chapter;
        }
        parts.spans.push_back(read);
    }
    return parts;
}

/// "4:1", "16", "[16]"; a number alone has the chapter 0.
Place numberIn(const QRegularExpressionMatch &match)
{
    return match.capturedLength(2) > 0
        ? Place { match.captured(1).toInt(), match.captured(2).toInt() }
        : Place { 0, match.captured(1).toInt() };
}

bool means(Place read, Place place)
{
    return read.verse == place.verse && (read.chapter == 0 || read.chapter == place.chapter);
}

/// Whether the Bible has left out what lies between: many omit a verse that not all manuscripts
/// have.
bool isBehindGap(Place before, Place read, const Span &span)
{
    constexpr std::int32_t widest = 2; // where the label does not tell the last verse
    const bool bounded = before.chapter == span.last.chapter && span.last.verse > 0;
    const std::int32_t most = bounded ? span.last.verse : before.verse + widest;
    return read.verse > before.verse + 1 && read.verse <= most
        && (read.chapter == 0 || read.chapter == before.chapter);
}

/// What the number stands for behind the place before; chapter 0 when it is none of a verse.
Place following(Place before, Place read, const std::vector<Span> &spans, std::size_t &span)
{
    if (means(read, { before.chapter, before.verse + 1 })) {
        return { before.chapter, before.verse + 1 };
    }
    const Place next { before.chapter + 1, 1 };
    if (next.chapter <= spans[span].last.chapter && means(read, next)) {
        return next; // also of a text that counts no chapters
    }
    for (std::size_t later = span + 1; later < spans.size(); ++later) {
        if (means(read, spans[later].start)) {
            span = later;
            return spans[later].start;
        }
    }
    return read == next ? next : Place {};
}

bool goesOn(const VerseMark &from, const VerseMark &to)
{
    return to.chapter == from.chapter
        ? to.verse == from.verse + 1
        : to.span == from.span && to.chapter == from.chapter + 1 && to.verse == 1;
}

QString placeText(const VerseMark &mark)
{
    return QString::number(mark.chapter) + QLatin1Char(':') + QString::number(mark.verse);
}

/// "-18", "-4:2", or nothing for a single verse.
QString rangeEnd(const VerseMark &from, const VerseMark &to)
{
    if (to.chapter != from.chapter) {
        return QLatin1Char('-') + placeText(to);
    }
    return to.verse > from.verse ? QLatin1Char('-') + QString::number(to.verse) : QString();
}

} // namespace

std::vector<VerseMark> verseMarks(const QString &text, const QString &label)
{
    static const QRegularExpression number(
        QStringLiteral("(?<!\\S)\\[?(\\d{1,3})(?::(\\d{1,3}))?\\]?(?!\\S)"));
    const Label parts = taken(label);
    std::vector<VerseMark> marks;
    if (parts.spans.empty()) {
        return marks;
    }
    std::vector<QRegularExpressionMatch> numbers;
    for (auto each = number.globalMatch(text); each.hasNext();) {
        numbers.push_back(each.next());
    }
    const Place start = parts.spans.front().start;
    Place before { start.chapter, start.verse - 1 };
    std::size_t span = 0;
    for (auto match = numbers.cbegin(); match != numbers.cend(); ++match) {
        const Place read = numberIn(*match);
        Place place = following(before, read, parts.spans, span);
        const Place awaited { before.chapter, before.verse + 1 };
        const auto comesLater = [&] {
            return std::any_of(match, numbers.cend(), [awaited](const auto &later) {
                return means(numberIn(later), awaited);
            });
        };
        if (place.chapter == 0 && isBehindGap(before, read, parts.spans[span]) && !comesLater()) {
            place = { before.chapter, read.verse };
        }
        const bool isFirst = marks.empty();
        if (isFirst
            && (place.chapter == 0
                || !QStringView(text).left(match->capturedStart()).trimmed().isEmpty())) {
            break; // a text without numbers
        }
        if (place.chapter > 0) {
            marks.push_back(
                { match->capturedStart(), match->capturedEnd(), place.chapter, place.verse, span });
            before = place;
        }
    }
    return marks;
}

QString labelOf(const QString &label,
    const std::vector<VerseMark> &marks,
    std::size_t first,
    std::size_t last)
{
    QString shown = taken(label).book + QLatin1Char(' ') + placeText(marks[first]);
    std::size_t from = first;
    for (std::size_t each = first; each <= last; ++each) {
        if (each < last && goesOn(marks[each], marks[each + 1])) {
            continue;
        }
        if (from != first) {
            const bool sameChapter = marks[from].chapter == marks[from - 1].chapter;
            shown += sameChapter ? QLatin1Char(',') + QString::number(marks[from].verse)
                                 : QStringLiteral("; ") + placeText(marks[from]);
        }
        shown += rangeEnd(marks[from], marks[each]);
        from = each + 1;
    }
    return shown;
}

} // namespace nimbara
