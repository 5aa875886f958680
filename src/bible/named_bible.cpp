#include "bible/named_bible.h"

#include "bible/reference_tokens.h"
#include "bible/shelf.h"

#include <QRegularExpression>

#include <algorithm>
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

/// Those whose names end in another's stand before it.
const std::array<Name, 9> &names()
{
    static const QString reina = QStringLiteral("(?:rvr|r\\.?v\\.?(?:r\\.?)?|reina[ -]?valera)");
    static const QString revised = reina + QStringLiteral("(?: revisada)?[ -]?");
    static const std::array<Name, 9> all { {
        { atEnd(QStringLiteral("nkjv|new king james(?: version)?")), QStringLiteral("NKJV") },
        { atEnd(QStringLiteral("a?kjv|kj|king james(?: (?:version|bible))?")),
            QStringLiteral("KJV") },
        { atEnd(reina + QStringLiteral("(?:[ -]?(?:19)?09)?|reina[ -]?valera antigua")),
            QStringLiteral("RV1909") },
        { atEnd(revised + QStringLiteral("(?:19)?60")), QStringLiteral("RVR1960") },
        { atEnd(revised + QStringLiteral("(?:19)?95")), QStringLiteral("RVR1995") },
        { atEnd(QStringLiteral("nvi|nueva version internacional")), QStringLiteral("NVI") },
        { atEnd(QStringLiteral("ntv|nueva traduccion viviente")), QStringLiteral("NTV") },
        { atEnd(QStringLiteral("lbla|biblia de las americas")), QStringLiteral("LBLA") },
        { atEnd(QStringLiteral("nbla|dhh|tla|pdt|rva|rvc|nblh|blph|btx|jbs|niv|nlt|esv|nasb|asv|"
                               "csb|amp|msg|nrsv|rsv|web|net")),
            {} },
    } };
    return all;
}

/// The imported Bible at the end: of several, the one with the longest name. Nothing is taken where
/// no number would be left.
WithoutBible takeImported(const QString &normalized)
{
    WithoutBible found { normalized, {} };
    for (const BiblePtr &each : importedBibles()) {
        for (const QString &name : { plainReference(each->id), plainReference(each->name) }) {
            if (name.size() < 2 || !normalized.endsWith(name)) {
                continue;
            }
            const auto match = atEnd(QRegularExpression::escape(name)).match(normalized);
            const QString rest = normalized.left(match.capturedStart());
            const bool hasNumber
                = std::any_of(rest.begin(), rest.end(), [](QChar sign) { return sign.isDigit(); });
            if (match.hasMatch() && hasNumber && rest.size() < found.reference.size()) {
                found = { rest, each->id };
            }
        }
    }
    return found;
}

} // namespace

WithoutBible takeBible(const QString &normalized)
{
    if (WithoutBible imported = takeImported(normalized); !imported.bible.isEmpty()) {
        return imported;
    }
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
    // "RVR1960" is listed by its year, or as "RVR60".
    static const QRegularExpression form(QStringLiteral("^RVR((?:19)?\\d{2})$"));
    const QString year = form.match(bible).captured(1);
    const QRegularExpression word(year.isEmpty()
            ? QStringLiteral("\\b%1\\b").arg(QRegularExpression::escape(bible))
            : QStringLiteral("\\b(?:RVR?)?(?:19)?%1\\b").arg(year.last(2)));
    return !bible.isEmpty() && word.match(listed).hasMatch();
}

} // namespace bible
