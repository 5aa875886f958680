#include "translation/service/languages.h"

namespace nimbara::languages {

namespace {

/// The text for Spanish, English or any other source.
QString bySource(const QString &source,
    const QString &spanish,
    const QString &english,
    const QString &other)
{
    if (source == QLatin1String("es")) {
        return spanish;
    }
    return source == QLatin1String("en") ? english : other;
}

} // namespace

QString defaultTarget()
{
    return QStringLiteral("English");
}

const QStringList &targets()
{
    static const QStringList names {
        QStringLiteral("English"),
        QStringLiteral("Spanish"),
        QStringLiteral("Portuguese"),
        QStringLiteral("French"),
        QStringLiteral("German"),
        QStringLiteral("Italian"),
        QStringLiteral("Korean"),
        QStringLiteral("Chinese (Mandarin)"),
        QStringLiteral("Japanese"),
        QStringLiteral("Russian"),
        QStringLiteral("Arabic"),
        QStringLiteral("Hindi"),
        QStringLiteral("Tagalog"),
        QStringLiteral("Vietnamese"),
        QStringLiteral("Haitian Creole"),
        QStringLiteral("Swahili"),
    };
    return names;
}

QString sourceFor(const QString &target)
{
    if (target == QLatin1String("Spanish")) {
        return QStringLiteral("en");
    }
    return target == QLatin1String("English") ? QStringLiteral("es") : QString();
}

QString phrasePrompt(const QString &source)
{
    return bySource(source,
        QStringLiteral("Prédica cristiana en una iglesia, pantallas de la sala, transmisión a "
                       "YouTube y Facebook."),
        QStringLiteral("Christian sermon in a church, hall screens, livestream to YouTube and "
                       "Facebook."),
        QStringLiteral("Church sermon."));
}

QString livePrompt(const QString &source)
{
    return bySource(source,
        QStringLiteral("Prédica cristiana en una iglesia."),
        QStringLiteral("Christian sermon in a church."),
        QStringLiteral("Church sermon."));
}

QString withTerms(const QString &prompt, const QString &terms)
{
    return terms.isEmpty() ? prompt : prompt + QLatin1Char(' ') + terms + QLatin1Char('.');
}

QString codeOf(const QString &target)
{
    static const QStringList codes {
        QStringLiteral("en"),
        QStringLiteral("es"),
        QStringLiteral("pt"),
        QStringLiteral("fr"),
        QStringLiteral("de"),
        QStringLiteral("it"),
        QStringLiteral("ko"),
        QStringLiteral("zh"),
        QStringLiteral("ja"),
        QStringLiteral("ru"),
        QStringLiteral("ar"),
        QStringLiteral("hi"),
        QStringLiteral("tl"),
        QStringLiteral("vi"),
        QStringLiteral("ht"),
        QStringLiteral("sw"),
    };
    const QString name = target.trimmed();
    for (qsizetype i = 0; i < targets().size(); ++i) {
        if (targets().at(i).compare(name, Qt::CaseInsensitive) == 0) {
            return codes.at(i);
        }
    }
    QString word;
    for (const QChar letter : name.toLower().left(32)) {
        word += letter.isLetterOrNumber() ? letter : QLatin1Char('-');
    }
    return word;
}

} // namespace nimbara::languages
