#include "base/i18n.h"

#include "base/text_table.h"

namespace nimbara_i18n {

QString &language()
{
    static QString current = QStringLiteral("es");
    return current;
}

QString startLanguage(const QString &setting, const QLocale &system)
{
    const auto spanish = QStringLiteral("es");
    const auto english = QStringLiteral("en");
    if (setting == spanish || setting == english) {
        return setting;
    }
    return system.language() == QLocale::Spanish ? spanish : english;
}

const QHash<QString, QString> &english()
{
    static const QHash<QString, QString> table = [] {
        QHash<QString, QString> built;
        for (const TextPair &pair : textPairs()) {
            built.insert(QString::fromUtf8(pair.spanish), QString::fromUtf8(pair.english));
        }
        return built;
    }();
    return table;
}

QString tr(const QString &text)
{
    if (language() != QLatin1String("en")) {
        return text;
    }
    if (const auto twin = english().constFind(text); twin != english().constEnd()) {
        return *twin;
    }
    return text;
}

QString tr(const char *text)
{
    return tr(QString::fromUtf8(text));
}

} // namespace nimbara_i18n
