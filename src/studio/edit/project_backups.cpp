#include "studio/edit/project_backups.h"

#include "base/error.h"
#include "document/project_file.h"
#include "media/sources/source_login.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>

#include <algorithm>
#include <tuple>
#include <utility>

namespace nimbara {

namespace {

const QString &timeFormat()
{
    static const auto format = QStringLiteral("yyyyMMdd'T'HHmmsszzz");
    return format;
}

/// A backup's name tells its turn, which no wrong clock disturbs, and its time (UTC).
struct Numbered {
    qulonglong turn = 0;
    ProjectBackup backup;
};

QString wholePath(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

QDir folderOf(const QString &folder, const QString &projectPath)
{
    const QByteArray digest
        = QCryptographicHash::hash(wholePath(projectPath).toUtf8(), QCryptographicHash::Sha256);
    QDir dir(folder);
    dir.setPath(dir.absoluteFilePath(QString::fromLatin1(digest.toHex().left(32))));
    return dir;
}

/// Newest first.
std::vector<Numbered> backupsIn(const QDir &dir)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{8})-(\\d{8}T\\d{9})\\.nimbara$"));
    std::vector<Numbered> all;
    for (const QString &name : dir.entryList(QDir::Files)) {
        if (const auto match = pattern.match(name); match.hasMatch()) {
            QDateTime time = QDateTime::fromString(match.captured(2), timeFormat());
            time.setTimeSpec(Qt::UTC);
            all.push_back({ match.captured(1).toULongLong(), { dir.filePath(name), time } });
        }
    }
    std::sort(all.begin(), all.end(), [](const Numbered &one, const Numbered &other) {
        return std::tie(one.turn, one.backup.file) > std::tie(other.turn, other.backup.file);
    });
    return all;
}

void writeWhole(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    const bool saved = file.open(QIODevice::WriteOnly)
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(bytes) == bytes.size() && file.flush()
        && file.commit(); // `writeProjectFile` tells why
    if (!saved) {
        throw Error(QStringLiteral("Proyecto guardado, pero sin copia de la versión anterior."));
    }
}

bool holds(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.size() == bytes.size() && file.readAll() == bytes;
}

/// The value without the logins in its locations, wherever they are.
QJsonValue bare(const QJsonValue &value)
{
    if (value.isArray()) {
        QJsonArray all;
        const QJsonArray values = value.toArray();
        for (const auto &each : values) {
            all.append(bare(each));
        }
        return all;
    }
    QJsonObject members = value.toObject();
    for (auto member = members.begin(); member != members.end(); ++member) {
        const bool isLocation
            = member.key() == QLatin1String("uri") || member.key() == QLatin1String("media");
        if (member->isString() && isLocation) {
            *member = splitLogin(member->toString()).location;
        } else if (member->isArray() || member->isObject()) {
            *member = bare(*member);
        }
    }
    return value.isObject() ? members : value;
}

/// A project of earlier days may have logins in its locations. Others stay byte for byte.
QByteArray withoutLogins(const QByteArray &json)
{
    const QJsonObject project = QJsonDocument::fromJson(json).object();
    const QJsonObject safe = bare(project).toObject();
    return safe == project ? json : QJsonDocument(safe).toJson();
}

/// What the project file holds now, but for logins.
QByteArray presentContents(const QString &path)
{
    try {
        return withoutLogins(readProjectFile(path));
    } catch (const Error &) {
        throw Error(QStringLiteral("Proyecto guardado, pero sin copia de la versión anterior."));
    }
}

} // namespace

void backUpProject(const QString &folder, const QString &projectPath, const QByteArray &replacement)
{
    const QFileInfo project(wholePath(projectPath));
    if (!project.exists()) {
        return;
    }
    const QByteArray present = presentContents(project.filePath());
    const QDir dir = folderOf(folder, projectPath);
    const std::vector<Numbered> before = backupsIn(dir);
    if (present == replacement || (!before.empty() && holds(before[0].backup.file, present))) {
        return;
    }
    QDir().mkpath(dir.path()); // when it fails, so does the first file
    const QString origin = dir.filePath(QStringLiteral("path.txt"));
    if (const QByteArray path = project.filePath().toUtf8(); !holds(origin, path)) {
        writeWhole(origin, path);
    }
    const qulonglong turn = before.empty() ? 1 : before[0].turn + 1;
    writeWhole(dir.filePath(QStringLiteral("%1-%2.nimbara")
                                .arg(turn, 8, 10, QLatin1Char('0'))
                                .arg(project.lastModified().toUTC().toString(timeFormat()))),
        present);
    for (std::size_t old = maxBackups - 1; old < before.size(); ++old) {
        QFile::remove(before[old].backup.file);
    }
}

std::vector<ProjectBackup> projectBackups(const QString &folder, const QString &projectPath)
{
    std::vector<ProjectBackup> all;
    for (Numbered &numbered : backupsIn(folderOf(folder, projectPath))) {
        all.push_back(std::move(numbered.backup));
    }
    return all;
}

} // namespace nimbara
