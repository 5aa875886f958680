#include "document/project_file.h"

#include "base/error.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace nimbara {

QByteArray readProjectFile(const QString &path)
{
    // Opening a pipe waits for its writer, and a device may never end.
    QFile file(path);
    if (QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly)) {
        // One byte more than allowed tells a file that is too large, whatever size it claims.
        QByteArray bytes = file.read(maxProjectBytes + 1);
        if (file.error() == QFileDevice::NoError && bytes.size() <= maxProjectBytes) {
            return bytes;
        }
    }
    throw Error(QStringLiteral("Proyecto inválido"));
}

void writeProjectFile(const QString &path, const QByteArray &json)
{
    // `commit` does not notice that the disk took a part of the last bytes only; `flush` does.
    QSaveFile file(path);
    const bool saved = json.size() <= maxProjectBytes && file.open(QIODevice::WriteOnly)
        && file.write(json) == json.size() && file.flush() && file.commit();
    if (!saved) {
        throw Error(QStringLiteral("No se pudo guardar proyecto"));
    }
}

} // namespace nimbara
