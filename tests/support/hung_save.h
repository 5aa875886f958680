#pragma once

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QString>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nimbara::testing {

/// A project file whose save waits until `answer`, for what is kept of it on a share that has gone
/// away. `folder` must exist, is the data folder of the studio that saves, and outlives the save.
class HungSave {
public:
    const QString file;

    explicit HungSave(const QString &folder)
        : file(folder + QStringLiteral("/culto.nimbara"))
    {
        if (!QFile(file).open(QIODevice::WriteOnly)) { // there is something to keep
            qFatal("no file");
        }
        const QByteArray digest
            = QCryptographicHash::hash(file.toUtf8(), QCryptographicHash::Sha256).toHex().left(32);
        const QDir backups(folder + QStringLiteral("/backups/") + QString::fromLatin1(digest));
        m_hung = QFile::encodeName(backups.filePath(QStringLiteral("path.txt")));
        if (!backups.mkpath(QStringLiteral(".")) || ::mkfifo(m_hung.constData(), 0600) != 0) {
            qFatal("no pipe"); // reading it waits for a writer
        }
    }
    HungSave(const HungSave &) = delete;
    HungSave &operator=(const HungSave &) = delete;
    HungSave(HungSave &&) = delete;
    HungSave &operator=(HungSave &&) = delete;
    ~HungSave() { answer(); }

    void answer() const { ::close(::open(m_hung.constData(), O_RDWR)); }

private:
    QByteArray m_hung;
};

} // namespace nimbara::testing
