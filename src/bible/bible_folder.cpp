#include "bible/bible_folder.h"

#include "base/error.h"
#include "base/log.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>

namespace bible {

namespace {

const QString suffix = QStringLiteral(".bible");

QString pathOf(const QString &folder, const QString &id)
{
    return QDir(folder).filePath(id + suffix);
}

QByteArray packed(const Bible &bible)
{
    QList<std::int32_t> keys(bible.renumbered.begin(), bible.renumbered.end());
    std::sort(keys.begin(), keys.end());
    QJsonArray renumbered;
    for (const std::int32_t key : keys) {
        renumbered.append(key);
    }
    const QJsonObject record { { QStringLiteral("id"), bible.id },
        { QStringLiteral("name"), bible.name },
        { QStringLiteral("lang"), bible.lang },
        { QStringLiteral("license"), bible.license },
        { QStringLiteral("renumbered"), renumbered },
        { QStringLiteral("books"), bible.books } };
    return qCompress(QJsonDocument(record).toJson(QJsonDocument::Compact));
}

/// Another instance of the program may be writing one now.
void removeLeftOvers(const QDir &folder)
{
    const QDateTime yesterday = QDateTime::currentDateTime().addDays(-1);
    for (const QFileInfo &file :
        folder.entryInfoList({ QLatin1Char('*') + suffix + QStringLiteral(".*") }, QDir::Files)) {
        if (file.lastModified() < yesterday) {
            QFile::remove(file.filePath());
        }
    }
}

} // namespace

QList<BiblePtr> loadImported(const QString &folder)
{
    const QDir place(folder);
    QList<BiblePtr> bibles;
    if (folder.isEmpty() || !place.exists()) {
        return bibles;
    }
    removeLeftOvers(place);
    for (const QFileInfo &file : place.entryInfoList({ QLatin1Char('*') + suffix }, QDir::Files)) {
        Bible bible = load(file.filePath());
        if (bible.valid && bible.id == file.completeBaseName()) {
            bible.isImported = true;
            bibles.append(std::make_shared<const Bible>(std::move(bible)));
        } else {
            nimbara::logLine(QStringLiteral("bibles: damaged: ") + file.fileName());
        }
    }
    return bibles;
}

void storeImported(const QString &folder, const Bible &bible)
{
    QSaveFile file(pathOf(folder, bible.id)); // beside its place until it is whole
    const QByteArray bytes = packed(bible);
    const bool isWritten = !folder.isEmpty() && QDir().mkpath(folder)
        && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    if (!isWritten) {
        throw nimbara::Error(nimbara::Message("No se pudo guardar la Biblia: %1",
            { nimbara::Message::verbatim(file.errorString()) }));
    }
}

bool removeImported(const QString &folder, const QString &id)
{
    const QString path = pathOf(folder, id);
    return QFile::remove(path) || !QFile::exists(path);
}

} // namespace bible
