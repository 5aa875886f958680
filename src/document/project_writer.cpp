#include "document/project_file.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace nimbara {

namespace {

void addTextStyle(QJsonObject &object, const Layer &layer)
{
    object[QLatin1String("text")] = layer.text;
    object[QLatin1String("reference")] = layer.reference;
    object[QLatin1String("font")] = layer.font;
    object[QLatin1String("size")] = layer.size;
    object[QLatin1String("bold")] = layer.bold;
    object[QLatin1String("color")] = layer.color.name(QColor::HexArgb);
    object[QLatin1String("background")] = layer.background.name(QColor::HexArgb);
    object[QLatin1String("align")] = layer.align;
    object[QLatin1String("shadow")] = layer.shadow;
}

QJsonObject layerObject(const Layer &layer)
{
    QJsonObject object {
        { QStringLiteral("kind"), wordOfKind(layer.kind) },
        { QStringLiteral("name"), layer.name },
        { QStringLiteral("visible"), layer.visible },
        { QStringLiteral("opacity"), layer.opacity },
        { QStringLiteral("x"), layer.x },
        { QStringLiteral("y"), layer.y },
        { QStringLiteral("w"), layer.w },
        { QStringLiteral("h"), layer.h },
        { QStringLiteral("cover"), layer.cover },
    };
    if (isText(layer.kind)) {
        addTextStyle(object, layer);
    } else if (layer.kind == LayerKind::Image) {
        object[QLatin1String("path")] = layer.path;
    } else if (layer.kind == LayerKind::Video) {
        object[QLatin1String("uri")] = layer.uri;
        object[QLatin1String("sound")] = layer.sound;
    } else if (layer.kind == LayerKind::Color) {
        object[QLatin1String("fill")] = layer.fill.name(QColor::HexArgb);
    }
    return object;
}

QJsonArray sceneArray(const std::vector<Scene> &scenes)
{
    QJsonArray array;
    for (const Scene &scene : scenes) {
        QJsonArray layers;
        for (const Layer &layer : scene.layers) {
            layers.append(layerObject(layer));
        }
        array.append(QJsonObject { { QStringLiteral("name"), scene.name },
            { QStringLiteral("layers"), layers } });
    }
    return array;
}

} // namespace

QByteArray toJson(const Project &project)
{
    const QJsonObject object {
        { QStringLiteral("version"), 3 },
        { QStringLiteral("vertical"), project.profile == StreamProfile::Portrait },
        { QStringLiteral("current"), project.currentStreams },
        { QStringLiteral("currentHall"), project.currentHall },
        { QStringLiteral("scenes"), sceneArray(project.streams) },
        { QStringLiteral("hall"), sceneArray(project.hall) },
        { QStringLiteral("band"), project.band },
        { QStringLiteral("title"), project.title },
        { QStringLiteral("gain"), std::clamp(project.gain, 0, Project::maxGain) },
    };
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

} // namespace nimbara
