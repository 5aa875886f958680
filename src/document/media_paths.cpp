#include "document/media_paths.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QPair>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

namespace nimbara {

namespace {

/// Files of one name are weighed against each other; more of them than this are no layout.
constexpr qsizetype maxOfOneName = 64;

QString nameOf(const QString &path)
{
    return path.section(u'/', -1);
}

/// Of a "file:" URL on this computer; else empty.
QString localPath(const QString &uri)
{
    const QUrl url(uri, QUrl::TolerantMode);
    return url.isLocalFile() && url.host().isEmpty() ? url.toLocalFile() : QString();
}

QString joined(const QString &folder, const QString &relative)
{
    if (folder.isEmpty() || relative.isEmpty() || QDir::isAbsolutePath(relative)) {
        return {};
    }
    return QDir::cleanPath(folder + u'/' + relative);
}

/// A folder that became another one, and with it all that was in it.
using Move = QPair<QString, QString>;

/// The moves that may have brought a file there, the one with the longest way in common last.
std::vector<Move> movesBetween(const QString &before, const QString &now)
{
    std::vector<Move> moves;
    qsizetype one = before.size();
    qsizetype other = now.size();
    while (one > 0 && other > 0) {
        const qsizetype oneSlash = before.lastIndexOf(u'/', one - 1);
        const qsizetype otherSlash = now.lastIndexOf(u'/', other - 1);
        if (oneSlash < 0 || otherSlash < 0
            || before.mid(oneSlash, one - oneSlash) != now.mid(otherSlash, other - otherSlash)) {
            break;
        }
        one = oneSlash;
        other = otherSlash;
        moves.emplace_back(before.left(one), now.left(other));
    }
    return moves;
}

using Choices = QHash<QString, QStringList>; ///< candidates by their name

Choices byName(const QStringList &candidates)
{
    Choices choices;
    for (const QString &candidate : candidates) {
        QStringList &all = choices[nameOf(candidate)];
        if (all.size() < maxOfOneName) {
            all.append(candidate);
        }
    }
    return choices;
}

} // namespace

QString relativePath(const QString &projectFolder, const QString &path)
{
    if (projectFolder.isEmpty() || !QDir::isAbsolutePath(path)) {
        return {};
    }
    const QString relative = QDir(projectFolder).relativeFilePath(QDir::cleanPath(path));
    return QDir::isAbsolutePath(relative) ? QString() : relative;
}

QString relativeUri(const QString &projectFolder, const QString &uri)
{
    const QString relative = relativePath(projectFolder, localPath(uri));
    return QString::fromLatin1(QUrl::toPercentEncoding(relative, "/"));
}

QString resolvePath(const QString &projectFolder,
    const QString &path,
    const QString &relative,
    const FileTest &exists)
{
    const QString beside = joined(projectFolder, relative);
    if (beside.isEmpty() || (!path.isEmpty() && exists(path))) {
        return path;
    }
    return path.isEmpty() || exists(beside) ? beside : path;
}

QString resolveUri(const QString &projectFolder,
    const QString &uri,
    const QString &relative,
    const FileTest &exists)
{
    const QString path = localPath(uri);
    if (path.isEmpty()) {
        return uri;
    }
    const QString found
        = resolvePath(projectFolder, path, QUrl::fromPercentEncoding(relative.toUtf8()), exists);
    return found == path ? uri : QString::fromLatin1(QUrl::fromLocalFile(found).toEncoded());
}

QStringList filesNamed(const QString &folder, const QStringList &names, const SearchBounds &bounds)
{
    const QSet<QString> wanted(names.begin(), names.end());
    QStringList found;
    std::deque<std::pair<QString, int>> folders { { QDir(folder).absolutePath(), 0 } };
    int seen = 0;
    while (!folders.empty()) {
        const auto [path, depth] = folders.front();
        folders.pop_front();
        QDirIterator entries(path, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
        while (entries.hasNext()) {
            entries.next();
            if (++seen > bounds.entries) {
                return found;
            }
            const QFileInfo entry = entries.fileInfo();
            if (!entry.isDir()) {
                if (wanted.contains(entry.fileName())) {
                    found.append(entry.filePath());
                }
            } else if (depth < bounds.depth && !entry.isSymLink()) {
                folders.emplace_back(entry.filePath(), depth + 1);
            }
        }
    }
    return found;
}

QHash<QString, QString> mend(const QStringList &missing, const QStringList &candidates)
{
    const Choices choices = byName(candidates);
    const QSet<QString> files(missing.begin(), missing.end());
    QHash<Move, int> explained; // files that a move explains
    for (const QString &file : files) {
        for (const QString &candidate : choices.value(nameOf(file))) {
            for (const Move &move : movesBetween(file, candidate)) {
                ++explained[move];
            }
        }
    }
    QHash<QString, QString> mended;
    for (const QString &file : files) {
        std::pair<int, std::size_t> best { 0, 0 };
        for (const QString &candidate : choices.value(nameOf(file))) {
            const std::vector<Move> moves = movesBetween(file, candidate);
            std::pair<int, std::size_t> worth { 0, moves.size() };
            for (const Move &move : moves) {
                worth.first = std::max(worth.first, explained.value(move));
            }
            if (worth > best) {
                best = worth;
                mended.insert(file, candidate);
            }
        }
    }
    return mended;
}

QHash<QString, QString> mendFrom(const QString &folder, const QStringList &missing)
{
    QStringList names;
    for (const QString &file : missing) {
        names.append(nameOf(file));
    }
    return mend(missing, filesNamed(folder, names));
}

} // namespace nimbara
