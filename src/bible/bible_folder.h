#pragma once

#include "bible/shelf.h"

#include <QList>
#include <QString>

/// The imported Bibles as files of a folder, one each. All of it blocks.
namespace bible {

/// Reads every Bible there is; what is damaged is logged and left alone. What an import that was
/// cut off has left is removed.
QList<BiblePtr> loadImported(const QString &folder);

/// Writes the Bible, in place of one with its identifier. Throws nimbara::Error, and then all is as
/// before.
void storeImported(const QString &folder, const Bible &bible);

/// False when the file is still there.
bool removeImported(const QString &folder, const QString &id);

} // namespace bible
