#include "bible/sword_markup.h"

#include <QRegularExpression>

#include <array>
#include <utility>

namespace bible {

namespace {

QRegularExpression form(const char *pattern)
{
    return QRegularExpression(QString::fromLatin1(pattern),
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption);
}

} // namespace

QString withoutMarkup(const QString &text)
{
    static const auto notes
        = form(R"(<(note|title|scripref|figure)\b[^>]*(?:(?<=/)>|>.*?</\1>)|<rf\b[^>]*>.*?<rf>)");
    static const auto breaks = form("</?(?:l|lb|lg|p|br|div|milestone)\\b[^>]*>|<c[ml]>");
    static const auto lexicon = form(" ?<[gh]\\d+>(?!\\w)");
    static const auto marks = form(R"(<[^>]*>|\\[a-z]+\d*\*? ?)");
    static const auto code = form("&#(x?)([0-9a-f]{1,6});");
    QString plain = text;
    plain.remove(notes).replace(breaks, QStringLiteral(" ")).remove(lexicon).remove(marks);
    for (auto match = code.match(plain); match.hasMatch();
         match = code.match(plain, match.capturedStart() + 1)) {
        const uint sign = match.captured(2).toUInt(nullptr, match.capturedLength(1) > 0 ? 16 : 10);
        const bool isSign = sign > 31 && sign <= QChar::LastValidCodePoint;
        const auto letter = static_cast<char32_t>(isSign ? sign : ' ');
        plain.replace(match.capturedStart(), match.capturedLength(), QString::fromUcs4(&letter, 1));
    }
    static const std::array<std::pair<const char *, const char *>, 5> entities { { { "&lt;", "<" },
        { "&gt;", ">" },
        { "&quot;", "\"" },
        { "&apos;", "'" },
        { "&amp;", "&" } } };
    for (const auto &[entity, sign] : entities) {
        plain.replace(QLatin1String(entity), QLatin1String(sign));
    }
    return plain;
}

} // namespace bible
