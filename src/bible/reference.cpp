#include "bible/reference.h"

#include "bible/books.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

namespace bible {

namespace {

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// What a typed name is held against, book by book, in the order of comparison.
std::array<QStringList, books.size()> makeCandidates()
{
    std::array<QStringList, books.size()> candidates;
    for (std::size_t i = 0; i < books.size(); ++i) {
        const Book &book = books.at(i);
        candidates.at(i) = text(book.aliases).split(QLatin1Char('|'))
            << normalize(text(book.nameEs)) << normalize(text(book.nameEn));
    }
    return candidates;
}

/// The first exact match in table order, else the longest candidate that begins with `name` and
/// goes on, else -1. Of equally long candidates the first stays.
std::int32_t findBook(const QString &name)
{
    static const auto candidates = makeCandidates();
    std::int32_t best = -1;
    qsizetype longest = 0;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        for (const QString &candidate : candidates.at(i)) {
            if (candidate == name) {
                return static_cast<std::int32_t>(i);
            }
            if (name.size() >= 2 && candidate.size() > longest && candidate.startsWith(name)) {
                best = static_cast<std::int32_t>(i);
                longest = candidate.size();
            }
        }
    }
    return best;
}

/// "ii juan" → "2 juan".
QString withArabicPrefix(const QString &normalized)
{
    static const std::array<std::pair<QString, QString>, 3> prefixes { {
        { QStringLiteral("iii "), QStringLiteral("3 ") },
        { QStringLiteral("ii "), QStringLiteral("2 ") },
        { QStringLiteral("i "), QStringLiteral("1 ") },
    } };
    for (const auto &[roman, arabic] : prefixes) {
        if (normalized.startsWith(roman)) {
            return arabic + normalized.mid(roman.size());
        }
    }
    return normalized;
}

} // namespace

QString normalize(const QString &text)
{
    QString key;
    for (const QChar unit : text.normalized(QString::NormalizationForm_D)) {
        if (unit.category() != QChar::Mark_NonSpacing) {
            key += unit.toLower();
        }
    }
    return key.simplified();
}

Ref parse(const QString &text)
{
    // Book, chapter, first verse, last verse. The range separator is a hyphen or an en dash.
    static const QRegularExpression form(
        QStringLiteral("^(\\d?\\s*[a-z ]+?)\\s*(\\d+)(?:\\s*[:.,]\\s*"
                       "(\\d+)(?:\\s*[-–]\\s*(\\d+))?)?\\s*$"));
    const auto match = form.match(withArabicPrefix(normalize(text)));
    if (!match.hasMatch()) {
        return {};
    }
    const QString name = match.captured(1).simplified();
    const std::int32_t book = name.isEmpty() ? -1 : findBook(name);
    if (book < 0) {
        return {};
    }
    // QString::toInt gives 0 for a number beyond 32 bits, which callers refuse or read as "whole".
    const std::int32_t first = match.captured(3).toInt();
    const std::int32_t last = match.capturedLength(4) > 0 ? match.captured(4).toInt() : first;
    return { book, match.captured(2).toInt(), first, last };
}

QString label(const Ref &ref, const QString &lang)
{
    if (ref.book < 0 || static_cast<std::size_t>(ref.book) >= books.size()) {
        return {};
    }
    const Book &book = books.at(static_cast<std::size_t>(ref.book));
    QString shown = text(lang == QLatin1String("es") ? book.nameEs : book.nameEn);
    shown += QLatin1Char(' ') + QString::number(ref.chapter);
    if (ref.verseFrom > 0) {
        shown += QLatin1Char(':') + QString::number(ref.verseFrom);
    }
    if (ref.verseFrom < ref.verseTo) {
        shown += QLatin1Char('-') + QString::number(ref.verseTo);
    }
    return shown;
}

} // namespace bible
