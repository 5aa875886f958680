#pragma once

#include "document/media_paths.h"
#include "document/scene.h"

#include <QString>
#include <QStringList>

/// The files on this computer that layers name: pictures, and clips by a "file:" URL.
namespace nimbara {

/// The file's absolute path; empty when the layer names none.
QString localFile(const Layer &layer);

/// The layer names this file from now on; its own name and box stay. Nothing happens to a layer
/// that names no file.
void setLocalFile(Layer &layer, const QString &path);

/// The files of all layers that are not there, each once, in the order of the scenes. Asks the
/// disk, so it belongs on a background task.
QStringList missingFiles(const SceneSets &scenes, const FileTest &exists);

} // namespace nimbara
