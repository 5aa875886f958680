#include "bible/named_bible.h"

#include "bible/book_names.h"
#include "bible/reference_tokens.h"
#include "bible/shelf.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace bible {

namespace {

struct Name {
    QString form; ///< a regular expression
    QString bible; ///< empty: what is typed, in capitals
};

/// `names` behind a verse, with what may stand between the two.
QRegularExpression atEnd(const QString &names)
{
    return QRegularExpression(
        QStringLiteral("(?<=[\\d.a-z'’])(?:(?<=\\d)|[\\s,;:·|/'’-]+)"
                       "(?:(?:en|in|from|segun|de|la|the|version|biblia|bible)\\s+)*(")
        + names + QStringLiteral(")(?: (?:version|bible|biblia))?$"));
}

/// `names` before the name of a book: "kjv juan 3:16", and not "rv 3:16".
QRegularExpression atBegin(const QString &names)
{
    return QRegularExpression(QStringLiteral("^(") + names
        + QStringLiteral(")[\\s,;:·|/-]+(?=[a-z]|[1-3](?:ª|[a-z. ])*[a-z])"));
}

/// Those whose names end in another's stand before it.
const std::array<Name, 13> &names()
{
    static const QString reina = QStringLiteral("(?:rvr|r\\.?-?v\\.?(?:r\\.?)?|reina[ -]?valera)");
    static const QString revised = reina + QStringLiteral("(?: revisada)?(?: de )?[ -]?");
    static const std::array<Name, 13> all { {
        { QStringLiteral("nkjv|new king james"), QStringLiteral("NKJV") },
        { QStringLiteral("a?k\\.?j\\.?v(?:[ -]?1611)?|kj|king james|authori[sz]ed"),
            QStringLiteral("KJV") },
        { reina + QStringLiteral("(?: de )?(?:[ -]?(?:19)?09)?|reina[ -]?valera antigua"),
            QStringLiteral("RV1909") },
        { revised + QStringLiteral("(?:19)?60"), QStringLiteral("RVR1960") },
        { revised + QStringLiteral("(?:19)?77"), QStringLiteral("RVR1977") },
        { revised + QStringLiteral("(?:19)?95"), QStringLiteral("RVR1995") },
        { QStringLiteral("n\\.?v\\.?i|nueva version internacional"), QStringLiteral("NVI") },
        { QStringLiteral("n\\.?t\\.?v|nueva traduccion viviente"), QStringLiteral("NTV") },
        { QStringLiteral("lbla|biblia de las americas"), QStringLiteral("LBLA") },
        { QStringLiteral("dhh|dios habla hoy"), QStringLiteral("DHH") },
        { QStringLiteral("niv|new international"), QStringLiteral("NIV") },
        { QStringLiteral("nlt|new living translation"), QStringLiteral("NLT") },
        { QStringLiteral("nbla|tla|pdt|rva(?:[ -]?2015)?|rvc|rvg|nblh|nbv|blph|blp|btx|jbs|cst|esv|"
                         "nasb|asv|csb|hcsb|cev|gnt|ncv|tlb|ylt|amp|msg|nrsv|rsv|web|net"),
            {} },
    } };
    return all;
}

struct Form {
    QRegularExpression expression;
    QString bible;
};

QList<Form> formsOf(QRegularExpression (*place)(const QString &names))
{
    QList<Form> forms;
    for (const Name &name : names()) {
        forms.append({ place(name.form), name.bible });
    }
    return forms;
}

WithoutBible takeKnown(const QString &normalized, const QList<Form> &forms)
{
    for (const auto &[expression, bible] : forms) {
        const auto match = expression.match(normalized);
        if (match.hasMatch()) {
            const QString rest
                = QString(normalized).remove(match.capturedStart(), match.capturedLength());
            return { rest, bible.isEmpty() ? match.captured(1).toUpper() : bible };
        }
    }
    return { normalized, {} };
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
    static const QList<Form> ends = formsOf(atEnd);
    static const QList<Form> begins = formsOf(atBegin);
    if (WithoutBible behind = takeKnown(normalized, ends); !behind.bible.isEmpty()) {
        // "king james (kjv)"
        const WithoutBible again = takeKnown(behind.reference, ends);
        return again.bible == behind.bible ? again : behind;
    }
    // "rv cap. 3" begins with a book.
    WithoutBible before = takeKnown(normalized, begins);
    const auto pieces = tokens(before.reference);
    return pieces && !readBook(*pieces).books.isEmpty() ? before : WithoutBible { normalized, {} };
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
