#include "bible/sword_module.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>

namespace bible {

namespace {

constexpr qint64 mostBytes = qint64 { 1024 } * 1024; ///< of a file of settings

/// The settings of the one module in a file: keys in lower case; a value goes on behind a backslash
/// at the end of its line, and the first of several stands.
QHash<QString, QString> settingsOf(const QByteArray &data, QString &id)
{
    QString text = QString::fromUtf8(data);
    if (text.contains(QChar(QChar::ReplacementCharacter))) {
        text = QString::fromLatin1(data);
    }
    text.remove(QLatin1Char('\r')).replace(QStringLiteral("\\\n"), QStringLiteral(" "));
    QHash<QString, QString> settings;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        const QString plain = line.trimmed();
        if (id.isEmpty() && plain.startsWith(QLatin1Char('['))
            && plain.endsWith(QLatin1Char(']'))) {
            id = plain.mid(1, plain.size() - 2);
            continue;
        }
        const QString key = plain.section(QLatin1Char('='), 0, 0).trimmed().toLower();
        if (plain.contains(QLatin1Char('=')) && !settings.contains(key)) {
            settings.insert(key, plain.section(QLatin1Char('='), 1).trimmed());
        }
    }
    return settings;
}

SwordModule moduleOf(const QString &folder, const QByteArray &data)
{
    SwordModule module;
    const auto settings = settingsOf(data, module.id);
    const auto value = [&settings](const char *key, const char *otherwise = "") {
        const QString found = settings.value(QLatin1String(key));
        return found.isEmpty() ? QString::fromLatin1(otherwise) : found;
    };
    module.name = value("description");
    module.name = module.name.isEmpty() ? module.id : module.name;
    module.lang = value("lang");
    const QString license = value("distributionlicense");
    const QString owner = value("copyright");
    module.license = owner.isEmpty() || owner.compare(license, Qt::CaseInsensitive) == 0
        ? license
        : owner + QStringLiteral(". ") + license;
    module.driver = value("moddrv");
    module.compression = value("compresstype", "LZSS").toUpper();
    module.versification = value("versification", "KJV");
    module.encoding = value("encoding");
    module.isLocked = settings.contains(QStringLiteral("cipherkey"));
    const QString path = value("datapath");
    module.path = QDir::cleanPath(folder + QLatin1Char('/') + path) + QLatin1Char('/');
    return module;
}

} // namespace

QStringList swordFolders()
{
    const QString given = qEnvironmentVariable("SWORD_PATH");
    QStringList folders { QStringLiteral("/usr/share/sword"),
        QStringLiteral("/usr/local/share/sword"),
        QDir::homePath() + QStringLiteral("/.sword") };
    return given.isEmpty() ? folders : folders << given;
}

QList<SwordModule> swordModules(const QStringList &folders)
{
    QList<SwordModule> modules;
    for (const QString &folder : folders) {
        const QDir settings(folder + QStringLiteral("/mods.d"));
        for (const QFileInfo &info :
            settings.entryInfoList({ QStringLiteral("*.conf") }, QDir::Files)) {
            QFile file(info.filePath());
            if (!file.open(QIODevice::ReadOnly)) {
                continue;
            }
            const SwordModule module = moduleOf(folder, file.read(mostBytes));
            if (!module.id.isEmpty()
                && module.driver.contains(QLatin1String("text"), Qt::CaseInsensitive)) {
                modules.append(module);
            }
        }
    }
    std::sort(modules.begin(), modules.end(), [](const SwordModule &a, const SwordModule &b) {
        return a.name.localeAwareCompare(b.name) < 0;
    });
    return modules;
}

} // namespace bible
