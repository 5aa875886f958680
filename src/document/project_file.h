#pragma once

#include "document/project.h"

#include <QByteArray>
#include <QString>

#include <cstddef>

/// Project files ("*.nimbara"): UTF-8 JSON, version 3 written, versions 1 to 3 read. They never
/// hold keys.
///
/// Everything here works on values and files alone, so it may run on a background task while the
/// programs go on; the file operations belong there, because a disk or a network share may take its
/// time. A failure is an `Error` with the operator's text, and leaves everything as it was.
namespace nimbara {

constexpr qint64 maxProjectBytes = 4'194'304;
/// Scenes and layers of one file together. More do not fit when each has its members written; the
/// limit keeps a file of empty ones from claiming the time and memory of a running service.
constexpr std::size_t maxProjectItems = 50'000;
/// Boxes read from a file reach at most this many frames away, so that they stay drawable.
constexpr double maxBoxReach = 100;

/// The project as indented JSON, version 3. Ids are not written. `folder`: where the file lies or
/// will lie, so that local files are named relative to it, too (`media_paths.h`); empty: they are
/// not.
QByteArray toJson(const Project &project, const QString &folder = {});

/// Reads a project. Missing or unfit values take their defaults, numbers are clamped, unknown keys
/// ignored; anything but a JSON object reads as an empty one. An empty set gets its default scene.
///
/// Throws `Error` "Versión de proyecto inválida" (not 1, 2 or 3), "Opciones de proyecto inválidas"
/// (a gain that is no integer of 0..200) or "Proyecto inválido" (beyond the limits above).
///
/// `folder`: where the file lies. Local files that are not where they were are looked for relative
/// to it; this asks the disk.
Project fromJson(const QByteArray &json, const QString &folder = {});

/// The whole file. Throws `Error` "Proyecto inválido" when it cannot be read, is larger than 4 MiB,
/// or is no regular file: a device or a pipe is never opened.
QByteArray readProjectFile(const QString &path);

/// Replaces the file in one step: whatever fails, the old one stays whole. Throws `Error` "No se
/// pudo guardar proyecto", also for a project too large to be opened again.
void writeProjectFile(const QString &path, const QByteArray &json);

} // namespace nimbara
