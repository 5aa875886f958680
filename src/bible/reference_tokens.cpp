#include "bible/reference_tokens.h"

#include "bible/reference.h"

#include <QRegularExpression>

#include <cstdlib>

namespace bible {

namespace {

constexpr qsizetype longestText = 200;
constexpr qsizetype mostDigits = 4;

bool isIn(QChar sign, QStringView set)
{
    return set.contains(sign);
}

/// The plain sign that one of another script or length stands for.
QString plainSign(QChar sign)
{
    const char16_t code = sign.unicode();
    if (code >= 0xff01 && code <= 0xff5e) { // the full-width twins of ASCII
        return QChar(static_cast<char16_t>(code - 0xfee0));
    }
    if (code >= 0x2160 && code <= 0x2162) { // Roman numerals of one sign
        return { code - 0x215f, QLatin1Char('i') };
    }
    if (isIn(sign, u"‐‑‒–—―−﹘﹣")) {
        return QStringLiteral("-");
    }
    if (isIn(sign, u"∶꞉ː︓﹕")) {
        return QStringLiteral(":");
    }
    if (isIn(sign, u"º°˚")) {
        return QStringLiteral("ª");
    }
    if (isIn(sign, u"#№")) {
        return QStringLiteral(" ");
    }
    return sign == QLatin1Char('+') ? QStringLiteral("&") : QString(sign);
}

/// "Salmo 22 (21)" without what another Bible counts; nothing where a number in brackets means
/// more.
QString takeOtherCount(QString plain)
{
    static const QRegularExpression form(
        QStringLiteral("(?<![:.,\\d])(\\d+)\\s*[(\\[{]\\s*(\\d+)\\s*[)\\]}]"));
    static const QRegularExpression any(QStringLiteral("\\d\\s*[(\\[{]\\s*\\d+\\s*[)\\]}]"));
    const auto match = form.match(plain);
    if (std::abs(match.captured(1).toInt() - match.captured(2).toInt()) == 1) {
        plain.remove(match.capturedEnd(1), match.capturedEnd() - match.capturedEnd(1));
    }
    return any.match(plain).hasMatch() ? QString() : plain;
}

} // namespace

QString plainReference(const QString &typed)
{
    QString plain;
    for (const QChar sign : typed.left(longestText + 1)) {
        if (sign.category() != QChar::Other_Format) {
            plain += plainSign(sign);
        }
    }
    // "1) Juan 3:16" in a list; the other count of "Salmo 22 (21)".
    static const QRegularExpression listed(QStringLiteral("^\\s*[(\\[{]?\\s*\\d+\\s*[)\\]}]"));
    plain = takeOtherCount(plain.remove(listed));
    static const QRegularExpression brackets(QStringLiteral("[\"“”«»‹›„()\\[\\]{}<>*_•]|[’']s\\b"));
    plain = normalize(plain.replace(brackets, QStringLiteral(" ")));
    static const QRegularExpression around(
        QStringLiteral("^[^a-z0-9]+|[\\s'‘’‚`´.,;!?…·\\p{So}\\x{fe0f}]+$"));
    static const QRegularExpression dangling(
        QStringLiteral("\\s-+$|(?:(?<=[:.,]\\d)|(?<=[:.,]\\d\\d)|(?<=[:.,]\\d\\d\\d))\\s*:$"));
    // "Salmo nº 23"
    static const QRegularExpression number(
        QStringLiteral("(?<=[a-z.] )(?:n\\.?ª|n[o.]\\.?|nro\\.?|numero|number) ?(?=\\d)"));
    plain.remove(number);
    return plain.size() > longestText ? QString() : plain.remove(around).remove(dangling);
}

std::optional<QList<Token>> tokens(const QString &plain)
{
    static const QRegularExpression form(
        QStringLiteral("([0-9]+)|([a-z]+)|(-{1,3}|[:.,;&ª])|(\\s+)|(.)"),
        QRegularExpression::DotMatchesEverythingOption);
    QList<Token> found;
    bool glued = false;
    for (auto matches = form.globalMatch(plain); matches.hasNext();) {
        const auto match = matches.next();
        if (match.hasCaptured(5) || match.capturedLength(1) > mostDigits) {
            return std::nullopt;
        }
        if (match.hasCaptured(4)) {
            glued = false;
            continue;
        }
        const auto kind = match.hasCaptured(1) ? Token::Kind::Number
            : match.hasCaptured(2)             ? Token::Kind::Word
                                               : Token::Kind::Sign;
        found.append({ kind, match.captured(), match.captured(1).toInt(), glued });
        glued = true;
    }
    return found;
}

} // namespace bible
