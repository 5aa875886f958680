#include "document/local_files.h"

#include <QUrl>

namespace nimbara {

QString localFile(const Layer &layer)
{
    if (layer.kind == LayerKind::Image) {
        return layer.path;
    }
    const QUrl url(layer.kind == LayerKind::Video ? layer.uri : QString());
    return url.isLocalFile() ? url.toLocalFile() : QString();
}

void setLocalFile(Layer &layer, const QString &path)
{
    if (localFile(layer).isEmpty()) {
        return;
    }
    if (layer.kind == LayerKind::Image) {
        layer.path = path;
    } else {
        layer.uri = QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
    }
}

QStringList missingFiles(const SceneSets &scenes, const FileTest &exists)
{
    QStringList missing;
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                const QString path = localFile(layer);
                if (!path.isEmpty() && !missing.contains(path) && !exists(path)) {
                    missing.append(path);
                }
            }
        }
    }
    return missing;
}

} // namespace nimbara
