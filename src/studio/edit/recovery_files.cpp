#include "studio/edit/recovery_files.h"

#include "base/error.h"
#include "document/project_file.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>
#include <QUuid>

#include <algorithm>
#include <optional>

namespace nimbara {

namespace {

constexpr qint64 maxHeaderBytes = 65'536;

const QString &copyEnding()
{
    static const auto ending = QStringLiteral(".recovery");
    return ending;
}

const QString &lockEnding()
{
    static const auto ending = QStringLiteral(".lock");
    return ending;
}

QString digest(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QByteArray packed(const UnsavedWork &work)
{
    const QJsonObject header {
        { QStringLiteral("recovery"), 1 },
        { QStringLiteral("projectPath"), work.projectPath },
        { QStringLiteral("timeMs"), static_cast<qint64>(work.timeMs) },
        { QStringLiteral("bytes"), work.json.size() },
        { QStringLiteral("sha256"), digest(work.json) },
    };
    return QJsonDocument(header).toJson(QJsonDocument::Compact) + '\n' + work.json;
}

/// None unless it is whole.
std::optional<UnsavedWork> unpacked(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QJsonObject header = QJsonDocument::fromJson(file.readLine(maxHeaderBytes)).object();
    UnsavedWork work { file.read(maxProjectBytes + 1),
        header.value(QLatin1String("projectPath")).toString(),
        header.value(QLatin1String("timeMs")).toInteger() };
    const bool whole = header.value(QLatin1String("recovery")).toInt() == 1
        && header.value(QLatin1String("bytes")).toInteger(-1) == work.json.size()
        && header.value(QLatin1String("sha256")).toString() == digest(work.json);
    return whole ? std::optional(std::move(work)) : std::nullopt;
}

void removeFile(const QString &path)
{
    if (!QFile::remove(path) && QFileInfo::exists(path)) {
        throw Error(QStringLiteral("No se pudo borrar la copia de recuperación."));
    }
}

/// The lock of an instance that is gone; none while it runs.
std::shared_ptr<QLockFile> claim(const QString &path)
{
    auto lock = std::make_shared<QLockFile>(path);
    lock->setStaleLockTime(0);
    // The number of a process that is gone may have been given to this very program since. The
    // system's lock on the file, which the second call respects, ends with its owner.
    const bool gone = lock->tryLock(0) || (lock->removeStaleLockFile() && lock->tryLock(0));
    return gone ? lock : nullptr;
}

/// What was being written when an instance was killed, and locks of those that left no copy.
void sweep(const QDir &dir, const QString &id)
{
    for (const QString &rest : dir.entryList({ id + copyEnding() + QStringLiteral(".*") })) {
        QFile::remove(dir.filePath(rest));
    }
}

QString moveAside(const QDir &dir, const QString &name)
{
    const QString aside = QStringLiteral("damaged/") + name;
    const bool moved = dir.mkpath(QStringLiteral("damaged"))
        && QFile::rename(dir.filePath(name), dir.filePath(aside));
    return dir.filePath(moved ? aside : name);
}

/// The instances that have left something, running or not.
QSet<QString> idsIn(const QDir &dir)
{
    QSet<QString> ids;
    const auto files = dir.entryList({ u'*' + copyEnding() + u'*', u'*' + lockEnding() },
        QDir::Files | QDir::Hidden);
    for (const QString &name : files) {
        ids.insert(name.section(u'.', 0, 0));
    }
    return ids;
}

} // namespace

RecoveryPlace::RecoveryPlace(const QString &folder)
    : m_file(QDir(folder).absoluteFilePath(QUuid::createUuid().toString(QUuid::WithoutBraces)))
    , m_lock(m_file + lockEnding())
{
    m_file += copyEnding();
    m_lock.setStaleLockTime(0);
}

/// Locked before anything is written, so that a copy without its lock has no owner.
void RecoveryPlace::own()
{
    if (m_lock.isLocked()) {
        return;
    }
    if (!QDir().mkpath(QFileInfo(m_file).path()) || !m_lock.tryLock(0)) {
        throw Error(
            QStringLiteral("No se pudo guardar la copia de recuperación. Guarda el proyecto."));
    }
}

void RecoveryPlace::write(const UnsavedWork &work, const std::atomic<bool> &calledOff)
{
    own();
    const QByteArray bytes = packed(work);
    QSaveFile file(m_file);
    const bool written = work.json.size() <= maxProjectBytes && file.open(QIODevice::WriteOnly)
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(bytes) == bytes.size() && file.flush(); // `writeProjectFile` tells why
    if (calledOff) {
        file.cancelWriting();
    } else if (!written || !file.commit()) {
        throw Error(
            QStringLiteral("No se pudo guardar la copia de recuperación. Guarda el proyecto."));
    }
    if (calledOff) { // maybe in between
        remove();
    }
}

void RecoveryPlace::remove()
{
    removeFile(m_file);
}

RecoverySearch findRecoverable(const QString &folder)
{
    RecoverySearch found;
    const QDir dir(folder);
    for (const QString &id : idsIn(dir)) {
        const QString name = id + copyEnding();
        auto owned = claim(dir.absoluteFilePath(id + lockEnding()));
        if (!owned) {
            continue;
        }
        sweep(dir, id);
        if (!dir.exists(name)) {
            continue;
        }
        if (const auto work = unpacked(dir.filePath(name))) {
            found.works.push_back(
                { dir.absoluteFilePath(name), work->projectPath, work->timeMs, std::move(owned) });
        } else {
            found.damaged.append(moveAside(dir, name));
        }
    }
    std::sort(found.works.begin(),
        found.works.end(),
        [](const RecoverableWork &one, const RecoverableWork &other) {
            return one.timeMs > other.timeMs;
        });
    return found;
}

QByteArray takeRecoverable(const RecoverableWork &work)
{
    auto read = unpacked(work.file);
    if (!read) {
        throw Error(QStringLiteral("No se pudo leer la copia de recuperación."));
    }
    return std::move(read->json);
}

void discardRecoverable(const RecoverableWork &work)
{
    removeFile(work.file);
}

} // namespace nimbara
