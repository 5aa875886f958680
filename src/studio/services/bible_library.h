#pragma once

#include "base/message.h"
#include "bible/bible_import.h"
#include "bible/sword_module.h"
#include "document/scene.h"

#include <QFuture>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace nimbara {

/// The Bibles that the operator has imported: files of a folder, read when the program starts, on
/// the shelf that all others look at (`bible::importedBibles`). Files are read and written on a
/// background task. Interface thread only, which never waits.
class BibleLibrary : public QObject {
    Q_OBJECT
public:
    /// Begins to load the folder's Bibles, behind the built-in ones. `folder` is made when it is
    /// needed; without one there is no import.
    explicit BibleLibrary(QString folder);

    /// The built-in and the imported Bibles are there.
    [[nodiscard]] QFuture<void> ready() const { return m_ready; }
    [[nodiscard]] bool isImporting() const { return m_isImporting; }

    /// Reads a Bible from files (`bible::readBibleFiles`) and keeps it, in place of one of the same
    /// name. One at a time. What is wrong with a file is `failed`, and nothing of it is kept.
    void importFiles(const QStringList &paths);
    /// The same of a module of SWORD.
    void importModule(const bible::SwordModule &module);
    /// Looks for modules of SWORD that are installed; `modulesFound` tells of them.
    void findModules();
    /// Deletes the Bible's file; not while one is imported. Projects that name it tell so from then
    /// on.
    void remove(const QString &id);

Q_SIGNALS:
    /// Other Bibles are on the shelf than before.
    void changed();
    /// A Bible was imported; it is on the shelf.
    void imported(const QString &id);
    /// A Bible's file is deleted; it is on the shelf no more.
    void removed(const QString &id);
    void modulesFound(const QList<bible::SwordModule> &modules);
    void failed(const nimbara::Message &reason);
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    void begin(const std::function<bible::RawBible()> &read);
    void finish(const bible::BiblePtr &bible, const Message &error);
    void take(const bible::BiblePtr &bible);

    QString m_folder;
    QFuture<void> m_ready;
    bool m_isImporting = false;
};

/// The identifiers of Bibles that verse layers of the scenes name and that are not here.
QStringList absentBibles(const SceneSets &scenes);

} // namespace nimbara
