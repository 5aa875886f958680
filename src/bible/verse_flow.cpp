#include "bible/verse_flow.h"

#include "base/error.h"
#include "base/i18n.h"

namespace bible {

namespace {

using nimbara::Message;

QString otherPrefix()
{
    return QStringLiteral("other:");
}
QString spanishCode()
{
    return QStringLiteral("es");
}
QString englishCode()
{
    return QStringLiteral("en");
}
QString dot()
{
    return QStringLiteral(" · ");
}

/// "Reina Valera 1960 (RVR60)" → "Reina Valera 1960".
QString sourceName(const QString &listed)
{
    return listed.isEmpty() ? QStringLiteral("API.Bible")
                            : listed.left(listed.indexOf(QLatin1String(" (")));
}

VerseOutcome shown(const QString &text, const QString &label, const QString &source)
{
    return { VerseUpdate { std::nullopt, text, label + dot() + source }, readyStatus(label) };
}

} // namespace

QString bibleChoice(const QString &stored, const QString &target)
{
    if (stored == spanishCode() || stored == englishCode() || stored == QLatin1String("api")) {
        return stored;
    }
    const QString language = target.trimmed().toLower();
    if (language.startsWith(QLatin1String("spanish"))
        || language.startsWith(QLatin1String("espa"))) {
        return spanishCode();
    }
    if (language.isEmpty() || language.startsWith(QLatin1String("english"))
        || language.startsWith(QLatin1String("ingl"))) {
        return englishCode();
    }
    return otherPrefix() + language;
}

QString builtInLanguage(const QString &choice)
{
    return choice == englishCode() ? englishCode() : spanishCode();
}

std::optional<QString> translationTarget(const QString &choice)
{
    if (!choice.startsWith(otherPrefix())) {
        return std::nullopt;
    }
    return choice.mid(otherPrefix().size());
}

Ref requireReference(const QString &typed)
{
    const Ref ref = parse(typed);
    if (!ref.usable()) {
        throw nimbara::Error(QStringLiteral("Cita no reconocida. Ejemplo: Juan 3:16 o Salmos 23"));
    }
    return ref;
}

VerseUpdate builtInVerse(const Bible &bible, const Ref &ref, const QString &lang)
{
    if (!bible.valid) {
        throw nimbara::Error(QStringLiteral("Biblia incluida no disponible"));
    }
    const QString text = verseText(bible, ref);
    if (text.isEmpty()) {
        throw nimbara::Error(QStringLiteral("Esa cita no existe en la Biblia"));
    }
    const QString name = label(ref, lang);
    return { name, text, name + dot() + bible.name };
}

VerseOutcome
passageOutcome(const Ref &ref, const QString &listed, const QString &text, const Message &error)
{
    if (!error.isEmpty()) {
        return { std::nullopt, error + Message::verbatim(dot()) + "se mantiene RV1909" };
    }
    return shown(text, label(ref, spanishCode()), sourceName(listed));
}

VerseOutcome translationOutcome(const Ref &ref, const QString &text, const Message &error)
{
    if (!error.isEmpty()) {
        return { std::nullopt, error };
    }
    return shown(text, label(ref, englishCode()), nimbara_i18n::tr("traducción automática"));
}

Message readyStatus(const QString &label)
{
    return "Versículo listo: " + Message::verbatim(label);
}

} // namespace bible
