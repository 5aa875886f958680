#include "secrets/secret_file.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <filesystem>
#include <system_error>
#include <utility>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace nimbara {

namespace {

constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr qint64 largestFile = 1 << 20;

struct Contents {
    QJsonObject secrets;
    bool broken = false; ///< there is a file, and it holds something else
};

Contents contentsOf(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        return {};
    }
    QFile file(path);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        return { {}, true };
    }
    const QByteArray bytes = file.read(largestFile + 1);
    if (bytes.isEmpty() && file.error() == QFileDevice::NoError) {
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (bytes.size() > largestFile || !document.isObject()) {
        return { {}, true };
    }
    return { document.object() };
}

/// Replaces what `to` names. Never copies, unlike QFile's: a copy would be readable by others.
bool renameOver(const QString &from, const QString &to)
{
    std::error_code failed;
    std::filesystem::rename(QFileInfo(from).filesystemFilePath(),
        QFileInfo(to).filesystemFilePath(),
        failed);
    return !failed;
}

bool keepAside(const QString &path)
{
    const QString kept = path + QStringLiteral(".bad-")
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    if (QFileInfo::exists(kept) || !renameOver(path, kept)) {
        return false;
    }
    QFile::setPermissions(kept, ownerOnly); // it may hold secrets
    return true;
}

/// What a run that ended in the middle of a write may have left.
void removeLeftovers(const QFileInfo &target)
{
    const QDateTime old = QDateTime::currentDateTimeUtc().addSecs(-60);
    const QStringList names { target.fileName() + QStringLiteral(".new-*") };
    for (const QFileInfo &left : target.dir().entryInfoList(names, QDir::Files)) {
        if (left.lastModified() < old) {
            QFile::remove(left.filePath());
        }
    }
}

bool reachesTheDisk(QFile &file)
{
#ifdef Q_OS_UNIX
    return file.flush() && ::fsync(file.handle()) == 0;
#else
    return file.flush();
#endif
}

bool replaceFile(const QString &path, const QByteArray &bytes)
{
    // Made with owner permissions alone, in the same folder, so that the rename is one step.
    QTemporaryFile file(path + QStringLiteral(".new-XXXXXX"));
    if (!file.open() || !file.setPermissions(ownerOnly) || file.write(bytes) != bytes.size()
        || !reachesTheDisk(file)) {
        return false;
    }
    const QString made = file.fileName();
    file.close();
    if (!renameOver(made, path)) {
        return false;
    }
    file.setAutoRemove(false);
    return true;
}

} // namespace

QString SecretFile::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
        + QStringLiteral("/secrets.json");
}

SecretFile::SecretFile(QString path)
    : m_path(std::move(path))
{
}

QString SecretFile::readSecretFile(const QString &account) const
{
    return contentsOf(m_path).secrets.value(account).toString();
}

bool SecretFile::writeSecretFile(const QString &account, const QString &value)
{
    const std::lock_guard lock(m_writer);
    const QFileInfo target(m_path);
    target.dir().mkpath(QStringLiteral("."));
    removeLeftovers(target);
    Contents contents = contentsOf(m_path);
    if (contents.broken && !keepAside(m_path)) {
        return false;
    }
    if (value.isEmpty()) {
        contents.secrets.remove(account);
    } else {
        contents.secrets.insert(account, value);
    }
    return replaceFile(m_path, QJsonDocument(contents.secrets).toJson(QJsonDocument::Compact));
}

} // namespace nimbara
