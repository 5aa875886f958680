#pragma once

#include "bible/builtin.h"

#include <QList>
#include <QString>

#include <memory>

/// All Bibles of the program: the built-in ones and those that the operator has imported. Callable
/// from any thread; what looks among the built-in ones waits until they are loaded (`prepare`).
namespace bible {

using BiblePtr = std::shared_ptr<const Bible>;

/// The imported Bibles, in the order of their names.
QList<BiblePtr> importedBibles();
void setImportedBibles(QList<BiblePtr> bibles);

/// The built-in ones and behind them the imported ones.
QList<BiblePtr> allBibles();

/// The Bible with the identifier, "KJV"; none for any other.
BiblePtr bibleWithId(const QString &id);
/// The Bible with the display name; none for any other.
BiblePtr bibleWithName(const QString &name);

/// The imported Bible that an operator names so: by its identifier, or as an online one is listed
/// (`isListedAs`). None when there is none.
BiblePtr importedNamed(const QString &named);

} // namespace bible
