#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace bible {

/// A Bible that is installed as a module of the SWORD project, as its file of settings describes it
/// (https://wiki.crosswire.org/DevTools:conf_Files).
struct SwordModule {
    QString id; ///< "spaRV1909eb"
    QString name;
    QString lang;
    QString license;
    QString path; ///< of its data, absolute, with a slash at the end
    QString driver; ///< "zText", "RawText4"
    QString compression; ///< of a driver that compresses
    QString versification; ///< "KJV"
    QString encoding; ///< "UTF-8"; anything else is Latin-1
    bool isLocked = false; ///< it needs a key
};

/// Where modules are installed: for all users and for this one.
QStringList swordFolders();

/// The Bibles among the modules of the folders, by their names. Blocks.
QList<SwordModule> swordModules(const QStringList &folders);

} // namespace bible
