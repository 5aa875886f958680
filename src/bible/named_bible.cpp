#include "bible/named_bible.h"

#include <QRegularExpression>

#include <array>

namespace bible {

namespace {

struct Name {
    QRegularExpression form;
    QString bible; ///< empty: the form itself, in capitals
};

/// `names` behind a verse, with what may stand between the two.
QRegularExpression atEnd(const QString &names)
{
    return QRegularExpression(
        QStringLiteral("(?<=[\\d.a-z)\\]\"”»’'])(?:(?<=\\d)|[\\s,;·|/()\\[\\]\"”»’'-]+)"
                       "(?:(?:en|in|from|segun|de|la|the|version|biblia|bible)\\s+)*(")
        + names + QStringLiteral(")$"));
}

const std::array<Name, 4> &names()
{
    static const QString reina = QStringLiteral("(?:rv|rvr|reina[ -]?valera|r\\.?v\\.?r?\\.?)");
    static const std::array<Name, 4> all { {
        { atEnd(QStringLiteral("a?kjv|kj|king james(?: (?:version|bible))?")),
            QStringLiteral("KJV") },
        { atEnd(reina + QStringLiteral("(?:[ -]?(?:19)?09)?|rva|reina[ -]?valera antigua")),
            QStringLiteral("RV1909") },
        { atEnd(reina + QStringLiteral("[ -]?(?:19)?60")), QStringLiteral("RVR1960") },
        { atEnd(QStringLiteral("nvi|ntv|nbla|lbla|dhh|tla|pdt|rvc|nblh|blph|btx|jbs|bla|"
                               "niv|nlt|esv|nkjv|nasb|asv|csb|amp|msg|nrsv|rsv|web|net")),
            {} },
    } };
    return all;
}

} // namespace

WithoutBible takeBible(const QString &normalized)
{
    for (const Name &name : names()) {
        const auto match = name.form.match(normalized);
        if (match.hasMatch()) {
            return { normalized.left(match.capturedStart()),
                name.bible.isEmpty() ? match.captured(1).toUpper() : name.bible };
        }
    }
    return { normalized, {} };
}

bool isListedAs(const QString &bible, const QString &listed)
{
    const bool sixty = bible == QLatin1String("RVR1960");
    const QRegularExpression word(sixty ? QStringLiteral("\\b(?:1960|RVR?60|RVR?1960)\\b")
                                        : QStringLiteral("\\b%1\\b").arg(bible));
    return !bible.isEmpty() && word.match(listed).hasMatch();
}

} // namespace bible
