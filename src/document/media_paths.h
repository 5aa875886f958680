#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

/// Where the pictures and clips of a project are, also after its folder was moved.
///
/// A project file holds both forms of every local file: beside "path" (an image's absolute path)
/// the key "relativePath", and beside "uri" (a video's "file:" URL) the key "relativeUri". Both are
/// relative to the folder of the project file, with "/" between names; "relativeUri" is
/// percent-encoded. They are left out where there is no such form: another kind of URL, a file on
/// another drive or host. They are made when the file is written, from its own folder, and used up
/// when it is read: a layer knows the absolute form alone.
namespace nimbara {

/// A path relative to the project's folder; empty when there is none.
QString relativePath(const QString &projectFolder, const QString &path);
/// The same for the location of a clip.
QString relativeUri(const QString &projectFolder, const QString &uri);

/// Whether there is a file; asks the disk, so it belongs on a background task.
using FileTest = std::function<bool(const QString &path)>;

/// The absolute path when its file exists, else the relative one when that one does, else the
/// absolute one, for the operator to see what is missing. `projectFolder` is absolute.
QString resolvePath(const QString &projectFolder,
    const QString &path,
    const QString &relative,
    const FileTest &exists);
/// The same for the location of a clip; what is no "file:" URL stays as it is.
QString resolveUri(const QString &projectFolder,
    const QString &uri,
    const QString &relative,
    const FileTest &exists);

/// How far `filesNamed` looks.
struct SearchBounds {
    int depth = 8; ///< folders below the first
    int entries = 100'000; ///< files and folders seen
};

/// The files of these names in a folder and those below it, nearest first. Links to folders are not
/// followed. Reads the disk, so it belongs on a background task.
QStringList
filesNamed(const QString &folder, const QStringList &names, const SearchBounds &bounds = {});

/// For each missing file the candidate of the same name that replaces it. Where several have one
/// name, that one is taken which lies to its siblings as before: the move from old folder to new
/// that explains most of the missing files; then the one with most of its folders' names in common;
/// then the first. All paths are absolute.
QHash<QString, QString> mend(const QStringList &missing, const QStringList &candidates);

/// `mend` with what is in a folder that the operator chose; on a background task.
QHash<QString, QString> mendFrom(const QString &folder, const QStringList &missing);

} // namespace nimbara
