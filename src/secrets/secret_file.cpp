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

enum class FileState {
    Sound, ///< its secrets are known; no file and an empty one have none
    Broken, ///< it holds something else
    Unreadable, ///< for now, perhaps: the secrets in it may be whole
};

struct Contents {
    QJsonObject secrets;
    FileState state = FileState::Sound;
};

Contents contentsOf(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        return {};
    }
    if (!info.isFile()) {
        return { {}, FileState::Broken };
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return { {}, FileState::Unreadable };
    }
    const QByteArray bytes = file.read(largestFile + 1);
    if (file.error() != QFileDevice::NoError) {
        return { {}, FileState::Unreadable };
    }
    if (bytes.isEmpty()) {
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (bytes.size() > largestFile || !document.isObject()) {
        return { {}, FileState::Broken };
    }
    return { document.object(), FileState::Sound };
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
    if (contents.state == FileState::Unreadable
        || (contents.state == FileState::Broken && !keepAside(m_path))) {
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
