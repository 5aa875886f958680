#include "document/media_paths.h"
#include "document/project_file.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <map>

namespace nimbara {

namespace {

/// Adds what is not as it is in a new layer.
class Added {
public:
    Added(QJsonObject &object, const Layer &layer)
        : m_object(object)
        , m_layer(layer)
    {
    }
    template <typename Value> void operator()(const char *key, Value Layer::*member) const
    {
        static const Layer plain;
        if (m_layer.*member != plain.*member) {
            m_object[QLatin1String(key)] = m_layer.*member;
        }
    }

private:
    QJsonObject &m_object;
    const Layer &m_layer;
};

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
    const Added add(object, layer);
    add("outlineWidth", &Layer::outlineWidth);
    add("shadowStrength", &Layer::shadowStrength);
    add("spacing", &Layer::spacing);
    add("upperCase", &Layer::upperCase);
    add("style", &Layer::style);
}

void addVerse(QJsonObject &object, const Layer &layer)
{
    const Added add(object, layer);
    add("paged", &Layer::paged);
    add("smallest", &Layer::smallest);
    add("page", &Layer::page);
    add("numbers", &Layer::numbers);
    add("referencePlace", &Layer::referencePlace);
    add("second", &Layer::second);
    add("secondText", &Layer::secondText);
    add("secondReference", &Layer::secondReference);
    add("arrangement", &Layer::arrangement);
    add("shows", &Layer::shows);
}

/// The countdowns that several clock layers share, by what a file calls them.
using SharedCountdowns = std::map<SourceId, int>;

SharedCountdowns sharedCountdowns(const SceneSets &scenes)
{
    std::map<SourceId, int> users;
    SharedCountdowns shared;
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                if (layer.kind == LayerKind::Clock && ++users[layer.source] == 2) {
                    shared.emplace(layer.source, static_cast<int>(shared.size()) + 1);
                }
            }
        }
    }
    return shared;
}

void addClock(QJsonObject &object, const Layer &layer, const SharedCountdowns &shared)
{
    if (const auto found = shared.find(layer.source); found != shared.end()) {
        object[QLatin1String("countdown")] = found->second;
    }

    const Added add(object, layer);
    add("clock", &Layer::clockShows);
    add("untilMinute", &Layer::untilMinute);
    add("duration", &Layer::duration);
}

/// Adds the relative form of a local file, where there is one.
void addRelative(QJsonObject &object, const char *key, const QString &relative)
{
    if (!relative.isEmpty()) {
        object[QLatin1String(key)] = relative;
    }
}

QJsonObject layerObject(const Layer &layer, const QString &folder, const SharedCountdowns &shared)
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
    if (layer.locked) {
        object[QLatin1String("locked")] = true;
    }
    if (isText(layer.kind)) {
        addTextStyle(object, layer);
        if (layer.kind == LayerKind::Verse) {
            addVerse(object, layer);
        } else if (layer.kind == LayerKind::Clock) {
            addClock(object, layer, shared);
        } else if (layer.kind == LayerKind::Subtitle && layer.language != caption_language::first) {
            object[QLatin1String("language")] = layer.language;
        }
    } else if (layer.kind == LayerKind::Image) {
        object[QLatin1String("path")] = layer.path;
        if (!folder.isEmpty()) {
            addRelative(object, "relativePath", relativePath(folder, layer.path));
        }
    } else if (layer.kind == LayerKind::Video) {
        object[QLatin1String("uri")] = layer.uri;
        if (!folder.isEmpty()) {
            addRelative(object, "relativeUri", relativeUri(folder, layer.uri));
        }
        object[QLatin1String("sound")] = layer.sound;
        if (layer.latency != Layer::usualLatency) {
            object[QLatin1String("latency")] = layer.latency;
        }
    } else if (layer.kind == LayerKind::Camera && !layer.uri.isEmpty()) {
        object[QLatin1String("device")] = QJsonDocument::fromJson(layer.uri.toUtf8()).object();
    } else if (layer.kind == LayerKind::Color) {
        object[QLatin1String("fill")] = layer.fill.name(QColor::HexArgb);
    }
    return object;
}

QJsonObject transitionObject(const Transition &transition)
{
    return { { QStringLiteral("kind"), wordOfTransition(transition.kind) },
        { QStringLiteral("ms"), transition.ms } };
}

/// How scenes go on air, as far as it is not as in a new project.
void addTransitions(QJsonObject &object, const Project &project, const QString &folder)
{
    if (project.transition != Transition {}) {
        object.insert(QStringLiteral("transition"), transitionObject(project.transition));
    }
    if (project.hallTransitions) {
        object.insert(QStringLiteral("hallTransitions"), true);
    }
    if (const TransitionClip &clip = project.transitionClip; clip != TransitionClip {}) {
        QJsonObject written { { QStringLiteral("path"), clip.path },
            { QStringLiteral("cutMs"), clip.cutMs } };
        if (!folder.isEmpty()) {
            addRelative(written, "relativePath", relativePath(folder, clip.path));
        }
        object.insert(QStringLiteral("transitionClip"), written);
    }
}

QJsonArray sceneArray(const Scenes &scenes, const QString &folder, const SharedCountdowns &shared)
{
    QJsonArray array;
    for (const ScenePtr &scene : scenes) {
        QJsonArray layers;
        for (const Layer &layer : scene->layers) {
            layers.append(layerObject(layer, folder, shared));
        }
        QJsonObject object { { QStringLiteral("name"), scene->name },
            { QStringLiteral("layers"), layers } };
        if (scene->transition) {
            object.insert(QStringLiteral("transition"), transitionObject(*scene->transition));
        }
        array.append(object);
    }
    return array;
}

QJsonArray termArray(const Terms &terms)
{
    QJsonArray array;
    for (const Term &term : terms) {
        QJsonObject object { { QStringLiteral("said"), term.said },
            { QStringLiteral("shown"), term.shown } };
        if (!term.language.isEmpty()) {
            object.insert(QStringLiteral("language"), term.language);
        }
        array.append(object);
    }
    return array;
}

/// What the service has of verses, if it has anything.
void addVerses(QJsonObject &object, const Project &project)
{
    QJsonArray passages;
    for (const KeptPassage &passage : project.passages) {
        passages.append(QJsonObject { { QStringLiteral("reference"), passage.reference },
            { QStringLiteral("words"), passage.words } });
    }
    if (!passages.isEmpty()) {
        object.insert(QStringLiteral("passages"), passages);
    }
    if (project.verseStyle) {
        QJsonObject style;
        addTextStyle(style, *project.verseStyle);
        addVerse(style, *project.verseStyle);
        object.insert(QStringLiteral("verseStyle"), style);
    }
}

void addStyles(QJsonObject &object, const std::vector<TextStyle> &styles)
{
    QJsonArray array;
    for (const TextStyle &style : styles) {
        QJsonObject written { { QStringLiteral("name"), style.name } };
        addTextStyle(written, style.look);
        array.append(written);
    }
    if (!array.isEmpty()) {
        object.insert(QStringLiteral("styles"), array);
    }
}

} // namespace

QByteArray toJson(const Project &project, const QString &folder)
{
    const auto place
        = [&project](SceneSet set) { return static_cast<qint64>(project.currentPlace(set)); };
    const SharedCountdowns shared = sharedCountdowns(project.scenes);
    QJsonObject object {
        { QStringLiteral("version"), 3 },
        { QStringLiteral("vertical"), project.profile == StreamProfile::Portrait },
        { QStringLiteral("current"), place(SceneSet::Streams) },
        { QStringLiteral("currentHall"), place(SceneSet::Hall) },
        { QStringLiteral("scenes"), sceneArray(project.streams(), folder, shared) },
        { QStringLiteral("hall"), sceneArray(project.hall(), folder, shared) },
        { QStringLiteral("band"), project.band },
        { QStringLiteral("title"), project.title },
        { QStringLiteral("gain"), std::clamp(project.gain, 0, Project::maxGain) },
    };
    if (project.videoKbits != Project::usualVideoKbits) {
        object.insert(QStringLiteral("videoKbits"), project.videoKbits);
    }
    if (!project.terms.isEmpty()) {
        object.insert(QStringLiteral("glossary"), termArray(project.terms));
    }
    addVerses(object, project);
    addTransitions(object, project, folder);
    addStyles(object, project.scenes.styles);
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

} // namespace nimbara
